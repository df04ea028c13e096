#include "Support/Table.h"
#include "Views/Components/SymbolImageProvider.h"
#include "Views/Components/TerminalDocument.h"
#include "Views/QmlTypes.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTextBlock>
#include <QTextDocument>

using namespace Qt::StringLiterals;

class tst_Components : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { installViews(m_engine); }
    void theDocumentHoldsTheLastText_data();
    void theDocumentHoldsTheLastText();
    void anUpdateLeavesTheKeptLinesAlone();
    void aProgressBarFillsAResizedWindowAtOnce();
    void aButtonIsPressedOnceHoweverLongItIsHeld_data();
    void aButtonIsPressedOnceHoweverLongItIsHeld();
    void aDoubleClickIsOneClick_data();
    void aDoubleClickIsOneClick();
    void symbolsAreDrawnInTheColourAndSizeAsked_data();
    void symbolsAreDrawnInTheColourAndSizeAsked();

private:
    std::unique_ptr<QObject> makeTextEdit();
    std::unique_ptr<QQuickWindow> showButton(const QByteArray &button);

    QQmlEngine m_engine;
};

std::unique_ptr<QObject> tst_Components::makeTextEdit()
{
    QQmlComponent component(&m_engine);
    component.setData("import QtQuick\nTextEdit { width: 400 }", {});
    return std::unique_ptr<QObject>(component.create());
}

static QQuickTextDocument *documentOf(QObject &textEdit)
{
    return textEdit.property("textDocument").value<QQuickTextDocument *>();
}

void tst_Components::theDocumentHoldsTheLastText_data()
{
    const auto row = columns<QStringList, QString>("texts", "shown");
    row("growing", QStringList{u"a"_s, u"ab\n"_s, u"ab\ncd"_s}, u"ab\ncd"_s);
    row("cut at the front", QStringList{u"one\ntwo\n"_s, u"...\no\nthree\n"_s}, u"...\no\nthree\n"_s);
    row("moving on", QStringList{u"...\n12345\n"_s, u"...\n345\n6"_s, u"...\n5\n678"_s}, u"...\n5\n678"_s);
    row("nothing in common", QStringList{u"等待输出..."_s, u">>> 开始\n"_s}, u">>> 开始\n"_s);
    row("repeating itself", QStringList{u"aaaa"_s, u"...\naaaa"_s, u"...\naaab"_s}, u"...\naaab"_s);
    row("emptied", QStringList{u"...\nabc"_s, u""_s, u"x"_s}, u"x"_s);
    row("started anew", QStringList{u"...\nabc"_s, u"abc"_s}, u"abc"_s);
    row("carriage returns", QStringList{u"1%\r"_s, u"1%\r2%\r\n"_s, u"2%\r\n3%\r"_s}, u"2%\n3%\n"_s);
    row("the last line written anew", QStringList{u"one\n 1%"_s, u"one\n 2%"_s, u"...\ne\n 3%"_s}, u"...\ne\n 3%"_s);
    row("and shorter", QStringList{u"one\ntwo"_s, u"one\n"_s}, u"one\n"_s);
    row("paragraph marks", QStringList{u"a\u2029b"_s, u"a\u2029b\uFDD0c"_s}, u"a\nb\nc"_s);
    row("pairs", QStringList{u"😀😀"_s, u"😀✅"_s}, u"😀✅"_s);
}

void tst_Components::theDocumentHoldsTheLastText()
{
    QFETCH(QStringList, texts);
    QFETCH(QString, shown);
    const auto textEdit = makeTextEdit();
    TerminalDocument document;
    document.setLineHeight(16);
    document.setTextDocument(documentOf(*textEdit));
    for (const QString &text : std::as_const(texts))
        document.setText(text);
    QCOMPARE(documentOf(*textEdit)->textDocument()->toPlainText(), shown);
}

void tst_Components::anUpdateLeavesTheKeptLinesAlone()
{
    const auto textEdit = makeTextEdit();
    QTextDocument *const edited = documentOf(*textEdit)->textDocument();
    TerminalDocument document;
    document.setLineHeight(16);
    document.setTextDocument(documentOf(*textEdit));
    QString text = u"...\n"_s;
    for (int line = 0; line < 500; ++line)
        text += u"第 %1 行\n"_s.arg(line);
    document.setText(text);

    QSignalSpy changes(edited, &QTextDocument::contentsChange);
    QSignalSpy updates(&document, &TerminalDocument::updated);
    document.setText(u"...\n"_s + text.sliced(text.indexOf(u"第 2 行"_s)) + u"新的一行\n"_s);
    int touched = 0;
    for (const auto &change : std::as_const(changes))
        touched += change.at(1).toInt() + change.at(2).toInt();
    QVERIFY2(touched < 100, qPrintable(QString::number(touched)));
    QCOMPARE(updates.at(0).at(0).toReal(), 32.0); // two lines of 16 went away
    changes.clear();
    document.setText(document.property("text").toString() + u" 1%"_s);
    document.setText(document.property("text").toString().replace(u" 1%"_s, u" 2%"_s));
    for (const auto &change : std::as_const(changes))
        touched += change.at(1).toInt() + change.at(2).toInt();
    QVERIFY2(touched < 100, qPrintable(QString::number(touched)));
    for (QTextBlock block = edited->begin(); block.isValid(); block = block.next())
        QCOMPARE(block.blockFormat().lineHeight(), 16.0);
}

void tst_Components::aProgressBarFillsAResizedWindowAtOnce()
{
    QQmlComponent component(&m_engine);
    component.setData("import Vaelix\nLinearProgress { width: 700; value: 0.5 }", {});
    const std::unique_ptr<QObject> object(component.create());
    auto *const bar = qobject_cast<QQuickItem *>(object.get());
    const QQuickItem *const filled = bar->childItems().constFirst();
    QCOMPARE(filled->width(), 350.0);
    bar->setWidth(400);
    QCOMPARE(filled->width(), 200.0);
}

/// A window with the button, which has the focus; the window counts its presses.
std::unique_ptr<QQuickWindow> tst_Components::showButton(const QByteArray &button)
{
    QQmlComponent component(&m_engine);
    component.setData("import QtQuick\nimport Vaelix\nWindow {\nid: window\nproperty int presses: 0\n"
                      "width: 200; height: 100; visible: true\n"
                          + button.chopped(1)
                          + "\nfocus: true; width: 100; height: 30; onClicked: ++window.presses } }",
                      {});
    std::unique_ptr<QQuickWindow> window(qobject_cast<QQuickWindow *>(component.create()));
    if (!window)
        qFatal("%s", qPrintable(component.errorString()));
    window->requestActivate();
    if (!QTest::qWaitForWindowActive(window.get()))
        qFatal("The window does not become active");
    return window;
}

void tst_Components::aButtonIsPressedOnceHoweverLongItIsHeld_data()
{
    const auto row = columns<QByteArray, Qt::Key>("button", "key");
    const std::initializer_list<std::pair<QByteArray, QByteArray>> buttons{
        {"push", "PushButton { text: 'x' }"},
        {"borderless", "BorderlessButton { text: 'x' }"},
        {"icon", "IconButton { text: 'x'; symbol: 'xmark' }"},
        {"menu", "MenuRow { text: 'x'; symbol: 'xmark' }"},
        {"chip", "CategoryChip { text: 'x'; isSelected: false }"},
        {"segment", "Segment { text: 'x'; isSelected: false }"},
        {"sidebar", "SidebarRow { isSelected: false; item: NavigationItem { title: 'x'; symbol: 'cpu'; screen: '' } }"},
    };
    for (const auto &[name, button] : buttons) {
        row((name + ", Return").constData(), button, Qt::Key_Return);
        row((name + ", Enter").constData(), button, Qt::Key_Enter);
        row((name + ", Space").constData(), button, Qt::Key_Space);
    }
}

void tst_Components::aButtonIsPressedOnceHoweverLongItIsHeld()
{
    QFETCH(QByteArray, button);
    QFETCH(Qt::Key, key);
    const auto window = showButton(button);
    QTest::keyPress(window.get(), key);
    for (int repeat = 0; repeat < 10; ++repeat)
        for (const QEvent::Type type : {QEvent::KeyRelease, QEvent::KeyPress}) {
            QKeyEvent held(type, key, Qt::NoModifier, {}, true);
            QCoreApplication::sendEvent(window.get(), &held);
        }
    QTest::keyRelease(window.get(), key);
    QCOMPARE(window->property("presses"), 1);
    QTest::keyClick(window.get(), key);
    QCOMPARE(window->property("presses"), 2);
}

void tst_Components::aDoubleClickIsOneClick_data()
{
    const auto row = columns<QByteArray>("button");
    row("push", "PushButton { text: 'x' }");
    row("borderless", "BorderlessButton { text: 'x' }");
    row("icon", "IconButton { text: 'x'; symbol: 'xmark' }");
}

void tst_Components::aDoubleClickIsOneClick()
{
    QFETCH(QByteArray, button);
    const auto window = showButton(button);
    QTest::mouseDClick(window.get(), Qt::LeftButton, {}, {20, 15});
    QCOMPARE(window->property("presses"), 1);
    QTest::mouseClick(window.get(), Qt::LeftButton, {}, {20, 15});
    QCOMPARE(window->property("presses"), 2);
}

void tst_Components::symbolsAreDrawnInTheColourAndSizeAsked_data()
{
    const auto row = columns<QString>("name");
    row("a symbol", u"play.fill"_s);
    row("one of a server's catalog that nobody knows", u"no.such.symbol"_s);
    row("no name", u""_s);
    row("a path", u"../../etc/passwd"_s);
}

void tst_Components::symbolsAreDrawnInTheColourAndSizeAsked()
{
    QFETCH(QString, name);
    SymbolImageProvider provider;
    QSize size;
    const QImage image = provider.requestImage(name + u"?ff3b30"_s, &size, QSize(28, 28));
    QCOMPARE(size, QSize(28, 28));
    QCOMPARE(image.size(), size);
    int drawn = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (const QColor color = image.pixelColor(x, y); color.alpha() == 255) {
                QCOMPARE(color, QColor(u"#ff3b30"_s));
                ++drawn;
            }
    QVERIFY(drawn > 20);
}

QTEST_MAIN(tst_Components)
#include "tst_Components.moc"
