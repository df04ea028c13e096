// The token account's history with 10,000 rows, scrolled in the application's own view in a window.

#include "BenchWindow.h"
#include "Measure.h"
#include "Support/Scratch.h"
#include "Views/Token/ScreenTokenViewModel.h"

#include "Platform/Clock.h"
#include "Services/AuthService.h"
#include "Services/TokenAPIService.h"

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>

namespace {

constexpr int rows = 10'000;
constexpr int framesPerSpeed = 400;

const char window[] = R"(
import QtQuick
import Vaelix

Window {
    id: window
    required property TokenViewModel viewModel
    width: 1080; height: 720; visible: true
    color: Theme.window
    TransactionHistoryView { anchors.fill: parent; contentWidth: width; viewModel: window.viewModel }
}
)";

QList<TokenTransaction> transactions()
{
    const QDateTime start(QDate(2026, 1, 1), QTime(0, 0), Qt::UTC);
    QList<TokenTransaction> list;
    for (int i = 0; i < rows; ++i)
        list.append({.id = QString::number(i),
                     .type = TransactionType::allCases.at(i % TransactionType::allCases.size()),
                     .amount = 600 + i * 7919LL % 5000,
                     .balance = i * 104'729LL % 3'000'000,
                     .transactionDescription = QStringLiteral("gpt-4o 对话，第 %1 次").arg(i),
                     .createdAt = start.addSecs(i * 601LL)});
    return list;
}

QQuickItem *listIn(QQuickItem *item)
{
    if (item->inherits("QQuickListView"))
        return item;
    for (QQuickItem *const child : item->childItems())
        if (QQuickItem *const found = listIn(child))
            return found;
    return nullptr;
}

/// Seconds that each frame takes, from the change to the drawn picture, at so many pixels a frame: down
/// to the end of the list and up again if need be.
QList<double> scroll(QQuickWindow *window, double pixelsPerFrame)
{
    QQuickItem *const list = listIn(window->contentItem());
    const double end = list->property("contentHeight").toReal() - list->height();
    QList<double> times;
    double position = 0;
    for (int frame = 0; frame < framesPerSpeed; ++frame) {
        position += pixelsPerFrame;
        if (position < 0 || position > end)
            pixelsPerFrame = -pixelsPerFrame;
        position = std::clamp(position, 0.0, end);
        times.append(seconds([&] {
            list->setProperty("contentY", position);
            QEvent update(QEvent::UpdateRequest);
            QCoreApplication::sendEvent(window, &update);
        }));
        QCoreApplication::processEvents();
    }
    return times;
}

void scrolling(QQuickWindow *window, const char *how, double pixelsPerFrame)
{
    int drawn = 0;
    const auto counting = QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] { ++drawn; });
    const QList<double> times = scroll(window, pixelsPerFrame);
    QObject::disconnect(counting);
    if (drawn < framesPerSpeed)
        qFatal("only %d of %d frames were drawn", drawn, framesPerSpeed);
    report({.name = QStringLiteral("scrolling 10,000 transactions %1, 99 of 100 frames take at most")
                        .arg(QString::fromUtf8(how)),
            .measured = milliseconds(percentile99(times)),
            .against = milliseconds(median(times)) + QStringLiteral(" median frame"),
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
    Scratch scratch;
    AuthService auth({scratch.api.baseURL(), scratch.api.baseURL()}, scratch.keychain, scratch.defaults,
                     scratch.folders, [](const QStringList &) { });
    TokenAPIService api(scratch.api);
    ScreenTokenViewModel viewModel(TokenViewModel::Services{api, auth, Clock::shared()});
    viewModel.transactions()->setTransactions(transactions());

    QQmlApplicationEngine engine;
    QQuickWindow *const quickWindow = showWindow(engine, window, viewModel);
    while (!quickWindow->isExposed())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    scroll(quickWindow, 20); // does not count
    scrolling(quickWindow, "by the wheel", 20);
    scrolling(quickWindow, "by a flick", 240);
    scrolling(quickWindow, "by the bar", 9001);
}
