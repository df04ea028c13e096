// The terminal pane in a real window of the software section.

#include "BenchWindow.h"
#include "Measure.h"
#include "Support/Scratch.h"
#include "Utilities/Log.h"
#include "Views/Software/ScreenViewModel.h"

#include <QAbstractTextDocumentLayout>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQuickTextDocument>
#include <QQuickWindow>
#include <QThread>

namespace {

constexpr int linesPerSecond = 1000;
constexpr int linesInAll = 10 * linesPerSecond;

const char section[] = R"(
import QtQuick
import Vaelix

Window {
    id: window
    required property SoftwareListViewModel viewModel
    width: 1080; height: 720; visible: true
    SoftwareListView { anchors.fill: parent; viewModel: window.viewModel }
}
)";

/// A text layout that lays out nothing.
class NoLayout : public QAbstractTextDocumentLayout
{
public:
    using QAbstractTextDocumentLayout::QAbstractTextDocumentLayout;

    void draw(QPainter *, const PaintContext &) override { }
    int hitTest(const QPointF &, Qt::HitTestAccuracy) const override { return 0; }
    int pageCount() const override { return 1; }
    QSizeF documentSize() const override { return {800, 400}; }
    QRectF frameBoundingRect(QTextFrame *) const override { return {}; }
    QRectF blockBoundingRect(const QTextBlock &) const override { return {}; }

protected:
    void documentChanged(int, int, int) override { }
};

/// The software section with one program, whose terminal pane is shown.
struct Section {
    Section()
    {
        SoftwareCatalogEntry entry = testEntry(QStringLiteral("a"));
        entry.installCommand = QStringLiteral("exec '%1/bench_Writer' paced %2 %3")
                                   .arg(QCoreApplication::applicationDirPath())
                                   .arg(linesPerSecond)
                                   .arg(linesInAll);
        scratch.setCatalog({entry});
        window = showWindow(engine, section, viewModel);
        while (viewModel.isLoading())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        viewModel.setSelectedSoftware(viewModel.software(QStringLiteral("a")));
        settle();
    }

    void settle() const
    {
        QElapsedTimer timer;
        for (timer.start(); timer.elapsed() < 500;)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    }

    QTextDocument *document() const
    {
        for (QObject *const item : window->findChildren<QObject *>())
            if (item->inherits("QQuickTextEdit"))
                return item->property("textDocument").value<QQuickTextDocument *>()->textDocument();
        qFatal("There is no pane");
    }

    Scratch scratch;
    ScreenViewModel viewModel{scratch.services()};
    QQmlApplicationEngine engine;
    QQuickWindow *window = nullptr;
};

void steadyLines()
{
    Section section;
    QElapsedTimer clock;
    QList<double> frames;
    QObject::connect(section.window, &QQuickWindow::frameSwapped, &section.viewModel,
                     [&] { frames.append(double(clock.nsecsElapsed()) / 1e6); });
    clock.start();
    const double processorBefore = processorSeconds();
    QCoro::waitFor(section.viewModel.SoftwareListViewModel::install(section.viewModel.software(QStringLiteral("a"))));
    const double duration = double(clock.nsecsElapsed()) / 1e9;
    const double processor = (processorSeconds() - processorBefore) / duration;
    if (section.viewModel.terminalOutput()->text().count('\n') < linesInAll)
        qFatal("The pane lost lines");

    QList<double> intervals;
    for (qsizetype i = 1; i < frames.size(); ++i)
        intervals.append(frames[i] - frames[i - 1]);
    const QString name = QStringLiteral("1,000 lines a second into the pane: ");
    const QString during = QStringLiteral("during %1 s").arg(duration, 0, 'f', 1);
    report({.name = name + QStringLiteral("frames a second"),
            .measured = QStringLiteral("%1 frames %2").arg(frames.size()).arg(during),
            .value = double(frames.size()) / duration,
            .bound = Measurement::Bound::AtLeast,
            .target = 55,
            .unit = QStringLiteral(" /s")});
    report({.name = name + QStringLiteral("95 of 100 frames come within"),
            .measured = QStringLiteral("median %1 ms").arg(median(intervals), 0, 'f', 1),
            .value = percentile95(intervals),
            .target = 20,
            .unit = QStringLiteral(" ms")});
    report({.name = name + QStringLiteral("our share of a core"),
            .measured = during,
            .value = processor * 100,
            .target = 35,
            .unit = QStringLiteral(" %")});
}

constexpr char line[] = "[000123] 正在下载依赖包 package-123.tar.gz，已完成 23%，请稍候……\n";

/// A hidden section whose pane has shown that much output.
std::unique_ptr<Section> sectionAfter(qint64 bytes)
{
    auto section = std::make_unique<Section>();
    section->window->hide();
    const QByteArray piece = QByteArray(line).repeated(100);
    for (qint64 written = 0; written < bytes; written += piece.size())
        section->viewModel.terminalOutput()->append(QUtf8StringView(piece.constData(), piece.size()));
    section->settle();
    return section;
}

/// Seconds that the event loop works on the update one more line brings, drawing not included.
double oneUpdate(Section &section)
{
    TerminalOutput &output = *section.viewModel.terminalOutput();
    int updates = 0;
    const auto counting = QObject::connect(&output, &TerminalOutput::shownChanged, [&updates] { ++updates; });
    output.append(QUtf8StringView(line));
    QThread::msleep(18); // until the update is due
    const double time = seconds([] { QCoreApplication::processEvents(); });
    QObject::disconnect(counting);
    if (updates != 1 || !section.document()->toPlainText().endsWith(output.displayText().right(100)))
        qFatal("The pane was not updated");
    return time;
}

void oneUpdateAfterMuchOutput()
{
    const auto little = sectionAfter(10'000);
    const auto much = sectionAfter(10'000'000);
    const auto most = sectionAfter(200'000'000);
    const QString name = QStringLiteral("one pane update after %1 of output");
    // The same, give or take what two runs of the same thing differ by.
    constexpr double same = 1.1;
    const auto compareWithLittle = [&](const QString &size, Section &section) {
        const Comparison time = compare(101, [&] { return oneUpdate(section); }, [&] { return oneUpdate(*little); });
        report({.name = name.arg(size),
                .measured = milliseconds(time.ours),
                .against = milliseconds(time.theirs) + QStringLiteral(" after 10 KB"),
                .value = time.ratio,
                .target = same});
    };
    compareWithLittle(QStringLiteral("10 MB"), *much);
    compareWithLittle(QStringLiteral("200 MB"), *most);

    for (Section *const section : {little.get(), most.get()})
        section->document()->setDocumentLayout(new NoLayout(section->document()));
    const Comparison time = compare(101, [&] { return oneUpdate(*most); }, [&] { return oneUpdate(*little); });
    report({.name = name.arg(QStringLiteral("200 MB")) + QStringLiteral(", outside the text layout"),
            .measured = milliseconds(time.ours),
            .against = milliseconds(time.theirs) + QStringLiteral(" after 10 KB"),
            .value = time.ours * 1000,
            .target = 2,
            .unit = QStringLiteral(" ms")});
}

} // namespace

int main(int argc, char *argv[])
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QGuiApplication application(argc, argv);
    Log::setStream(stderr);
    steadyLines();
    oneUpdateAfterMuchOutput();
}
