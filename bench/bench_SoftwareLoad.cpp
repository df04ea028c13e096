// A catalog of 10,000 entries on its way into the list and the stored states: by the command line and in the window,
// the first time and once more, against parsing the same catalog.

#include "BenchWindow.h"
#include "DevServer.h"
#include "Frames.h"
#include "ManyEntries.h"
#include "Measure.h"
#include "Support/Scratch.h"
#include "Utilities/Log.h"
#include "Views/Software/ScreenViewModel.h"

#include <QGuiApplication>
#include <QProcess>
#include <QQuickWindow>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int rounds = 7;

const char window[] = R"(
import QtQuick
import Vaelix

Window {
    id: window
    required property SoftwareListViewModel viewModel
    width: 340; height: 720; visible: true
    SoftwareListPane { anchors.fill: parent; viewModel: window.viewModel }
}
)";

/// What was measured when nothing was stored, and right after that.
struct Times {
    QList<double> first;
    QList<double> again;
};

double parse(const QByteArray &catalog)
{
    return seconds([&] { (void)SoftwareCatalog::decode(catalog); });
}

/// One `software list` with its settings in the folder.
double list(const QString &program, const QString &origin, const QString &folder)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"VAELIX_SERVER_ORIGIN"_s, origin);
    environment.insert(u"XDG_CONFIG_HOME"_s, folder);
    process.setProcessEnvironment(environment);
    QByteArray output;
    return seconds([&] {
        QEventLoop untilEnd;
        QObject::connect(&process, &QProcess::finished, &untilEnd, &QEventLoop::quit);
        QObject::connect(&process, &QProcess::readyReadStandardOutput,
                         [&] { output += process.readAllStandardOutput(); });
        process.start(program, {u"software"_s, u"list"_s});
        untilEnd.exec();
        output += process.readAllStandardOutput();
        if (process.exitCode() != 0 || output.count('\n') != 10'001)
            qFatal("software list does not give the whole list");
    });
}

/// The longest frame of one load in a window that has `viewModel` in it.
double longestFrame(ScreenViewModel &viewModel, QQuickWindow *shown)
{
    double longest = 0;
    const Frames frames(shown, [&](double time) { longest = std::max(longest, time); });
    viewModel.loadData();
    if (!QTest::qWaitFor([&] { return !viewModel.isLoading(); }, 60'000) || viewModel.softwareList().size() != 10'000)
        qFatal("The catalog is not loaded");
    // What the load left to be done.
    const int drawnLater = 20;
    int drawn = 0;
    QObject::connect(shown, &QQuickWindow::frameSwapped, &frames, [&] { ++drawn; });
    if (!QTest::qWaitFor([&] { return drawn >= drawnLater; }))
        qFatal("The window is not drawn any more");
    return longest;
}

void reportRatio(const QString &name, const QList<double> &times, double parsing, double target)
{
    report({.name = name,
            .measured = milliseconds(median(times)),
            .against = milliseconds(parsing) + u" parsing the same catalog"_s,
            .value = median(times) / parsing,
            .target = target});
}

void reportFrame(const QString &name, const QList<double> &times)
{
    report({.name = name,
            .measured = milliseconds(median(times)),
            .against = {},
            .value = median(times) * 1000,
            .target = 50,
            .unit = u" ms"_s});
}

} // namespace

int main(int argc, char *argv[])
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QGuiApplication application(argc, argv);
    Log::setStream(stderr); // the other one is for what was measured
    const QByteArray catalog = SoftwareCatalog::encode(manyEntries(10'000));
    devserver::DevServer server{devserver::ServerState{.catalog = devserver::JSON::parse(catalog.toStdString())}};
    const QString origin = server.start(0).value();

    QList<double> parsing;
    Times listing;
    Times frames;
    for (int round = 0; round < rounds; ++round) {
        parsing.append(parse(catalog));
        const QTemporaryDir folder;
        listing.first.append(list(QString::fromLocal8Bit(argv[1]), origin, folder.path()));
        listing.again.append(list(QString::fromLocal8Bit(argv[1]), origin, folder.path()));

        Scratch scratch;
        scratch.write(u"Contents/Resources/SoftwareCatalog.json"_s, catalog);
        ScreenViewModel viewModel(scratch.services());
        QQmlApplicationEngine engine;
        QQuickWindow *const shown = showWindow(engine, window, viewModel);
        if (!QTest::qWaitForWindowExposed(shown))
            qFatal("The window is not shown");
        frames.first.append(longestFrame(viewModel, shown));
        frames.again.append(longestFrame(viewModel, shown));
    }
    const double parsed = median(parsing);
    reportRatio(u"`software list` with 10,000 programs, first"_s, listing.first, parsed, 20);
    reportRatio(u"`software list` with 10,000 programs, again"_s, listing.again, parsed, 20);
    reportFrame(u"the window while 10,000 programs are loaded first, longest frame"_s, frames.first);
    reportFrame(u"the window while 10,000 programs are loaded again, longest frame"_s, frames.again);
}
