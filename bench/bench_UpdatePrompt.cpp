// The main window with the update prompt while an update is downloaded as fast as the machine can, and while what
// was downloaded is verified.

#include "DevServer.h"
#include "Frames.h"
#include "LargeFile.h"
#include "Measure.h"
#include "Support/Bundles.h"
#include "Utilities/Log.h"
#include "Views/Screens.h"

#include <QGuiApplication>

using namespace Qt::StringLiterals;

namespace {

constexpr int mebibytes = 512;
constexpr int rounds = 16;

/// An offer of what the file server sends, whose hash is another's: the verification is its end.
devserver::UpdateOffer offerOf(const LargeFile &file, const FileServer &server)
{
    return {.file = file.path(),
            .fileSize = mebibytes * 1024LL * 1024,
            .fileHash = QString(64, u'0'),
            .url = server.origin() + u"/image"_s};
}

void waitUntil(const std::function<bool()> &condition)
{
    if (!QTest::qWaitFor(condition, 60'000))
        qFatal("The window does not come to what is waited for");
}

/// Shows the offer in the prompt, as the application's start does.
void showPrompt(Screens &screens, ScreenUpdateViewModel &updates)
{
    screens.window->setProperty("updateViewModel", QVariant::fromValue(&updates));
    updates.checkAtStart();
    waitUntil([&] { return screens.button(u"下载更新"_s) != nullptr; });
    screens.settle();
}

struct Times {
    QList<double> downloading;
    QList<double> verifying;
};

void updateOnce(Screens &screens, ScreenUpdateViewModel &updates, Times &times)
{
    screens.click(screens.button(u"下载更新"_s));
    if (!updates.isDownloading())
        qFatal("The download does not begin");
    {
        const Frames frames(screens.window, [&](double time) {
            if (updates.isDownloading())
                times.downloading.append(time);
            else if (updates.isInstalling())
                times.verifying.append(time);
        });
        waitUntil([&] { return !updates.isDownloading() && !updates.isInstalling(); });
    }
    waitUntil([&] { return screens.alert(u"更新失败"_s) && screens.button(u"确定"_s); });
    screens.settle();
    screens.press(Qt::Key_Return);
    waitUntil([&] { return !screens.button(u"确定"_s) && screens.button(u"下载更新"_s); });
    screens.settle();
}

void reportFrames(const char *name, const QList<double> &times)
{
    if (times.size() < 100)
        qFatal("only %lld frames were drawn", static_cast<long long>(times.size()));
    report({.name = QStringLiteral("the window while %1, 99 of 100 frames take at most").arg(QLatin1String(name)),
            .measured = milliseconds(percentile99(times)),
            .against = QStringLiteral("%1 median of %2 frames").arg(milliseconds(median(times))).arg(times.size()),
            .value = percentile99(times) * 1000,
            .bound = Measurement::Bound::Below,
            .target = 16,
            .unit = QStringLiteral(" ms")});
}

} // namespace

int main(int argc, char *argv[])
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QGuiApplication application(argc, argv);
    Log::setStream(stderr); // the other one is for what was measured
    const LargeFile file(mebibytes);
    const FileServer fileServer(file);
    devserver::DevServer server{devserver::ServerState{}};
    server.state().update = offerOf(file, fileServer);
    const Bundle bundle = Bundle::at(file.pathBeside(u"Vaelix.app"_s));
    makeBundle(bundle.path(), 42);
    UpdateCheckService service(server.start(0).value() + u"/api/v1"_s, bundle,
                               {.folders = Folders::under(file.pathBeside(u"home"_s))});
    ScreenUpdateViewModel updates(service);
    Screens screens;
    showPrompt(screens, updates);
    Times warmUp;
    updateOnce(screens, updates, warmUp); // does not count
    Times times;
    for (int round = 0; round < rounds; ++round)
        updateOnce(screens, updates, times);
    reportFrames("an update is downloaded", times.downloading);
    reportFrames("an update is verified", times.verifying);
}
