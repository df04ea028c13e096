// The software list with 10,000 programs, shown by the application's own list in a window.

#include "BenchWindow.h"
#include "ManyEntries.h"
#include "Measure.h"
#include "Support/Scratch.h"
#include "Views/Software/ScreenViewModel.h"

#include <QGuiApplication>
#include <QQuickWindow>

namespace {

constexpr int rounds = 21;

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

/// Draws what has changed, so that the next measurement does not pay for the last.
void settle(QQuickWindow *window)
{
    QCoreApplication::processEvents();
    window->grabWindow();
}

void filtering(SoftwareListViewModel &viewModel, QQuickWindow *window)
{
    // Typed letter by letter and deleted again: few, many, all and no matches.
    QStringList states;
    for (const QString &word : {QStringLiteral("program 777"), QStringLiteral("第 42 个"), QStringLiteral("xyz")}) {
        for (qsizetype length = 1; length <= word.size(); ++length)
            states.append(word.first(length));
        states.append(QString());
    }
    QHash<qsizetype, QList<double>> times;
    for (int round = 0; round < rounds; ++round)
        for (qsizetype i = 0; i < states.size(); ++i) {
            times[i].append(seconds([&] { viewModel.setSearchText(states[i]); }));
            settle(window);
        }
    QList<double> medians;
    for (qsizetype i = 0; i < states.size(); ++i)
        medians.append(median(times[i]));
    const auto slowest = std::ranges::max_element(medians);
    report({.name = QStringLiteral("filtering 10,000 programs, slowest keystroke"),
            .measured = milliseconds(*slowest),
            .against = milliseconds(median(medians)) + QStringLiteral(" median keystroke"),
            .value = *slowest * 1000,
            .bound = Measurement::Bound::Below,
            .target = 8,
            .unit = QStringLiteral(" ms")});
}

void oneRow(SoftwareListViewModel &viewModel, QQuickWindow *window)
{
    AISoftware *const shown = viewModel.filteredModel()->software().at(2);
    QList<double> changes;
    for (int round = 0; round < 10 * rounds; ++round) {
        const auto status = round % 2 ? SoftwareStatus::Running : SoftwareStatus::Installing;
        changes.append(seconds([&] { shown->setStatus(status); }));
        settle(window);
    }
    report({.name = QStringLiteral("one of 10,000 rows changing its status"),
            .measured = milliseconds(median(changes)),
            .value = median(changes) * 1000,
            .target = 1,
            .unit = QStringLiteral(" ms")});

    const QList<AISoftware *> whole = viewModel.filteredModel()->software();
    QList<AISoftware *> without = whole;
    without.removeAt(5000);
    QList<double> moves;
    for (int round = 0; round < 10 * rounds; ++round) {
        moves.append(seconds([&] { viewModel.filteredModel()->setSoftware(round % 2 ? whole : without); }));
        settle(window);
    }
    report({.name = QStringLiteral("one of 10,000 rows leaving or coming"),
            .measured = milliseconds(median(moves)),
            .value = median(moves) * 1000,
            .target = 1,
            .unit = QStringLiteral(" ms")});
}

} // namespace

int main(int argc, char *argv[])
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QGuiApplication application(argc, argv);
    Scratch scratch;
    scratch.store.merge(manyEntries(10'000));
    ScreenViewModel viewModel(scratch.services());
    viewModel.setSelectedCategory(SoftwareCategory::Tool);
    viewModel.setSelectedCategory(SoftwareListViewModel::allCategories);

    QQmlApplicationEngine engine;
    QQuickWindow *const quickWindow = showWindow(engine, window, viewModel);
    settle(quickWindow);
    filtering(viewModel, quickWindow);
    oneRow(viewModel, quickWindow);
}
