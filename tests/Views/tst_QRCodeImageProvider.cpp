#include "Support/Table.h"
#include "Views/Components/QRCodeImageProvider.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

constexpr int quietZone = 4;

/// The image's modules, line by line, with 'x' for a dark one; empty unless every module is a square of
/// 10 by 10 pixels in black or white.
QStringList modules(const QImage &image)
{
    QStringList lines;
    for (int row = 0; row < image.height() / 10; ++row)
        lines.append(QString(image.width() / 10, u' '));
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            const QRgb corner = image.pixel(x - x % 10, y - y % 10);
            if (pixel != corner || (pixel != qRgb(0, 0, 0) && pixel != qRgb(255, 255, 255)))
                return {};
            if (pixel == qRgb(0, 0, 0))
                lines[y / 10][x / 10] = u'x';
        }
    return lines;
}

} // namespace

class tst_QRCodeImageProvider : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void code_data();
    void code();
    void textOfItsOwn();
    void address_data();
    void address();
};

void tst_QRCodeImageProvider::code_data()
{
    // width: in modules, without the quiet zone; 0 for no image
    const auto row = columns<QString, int>("text", "width");
    row("nothing", {}, 0);
    row("version 1 holds 14 bytes at level M", QString(14, u'a'), 21);
    row("15 bytes need version 2", QString(15, u'a'), 25);
    row("bytes count, not characters", QString(5, u'付'), 25);
    row("digits are bytes, too", QString(15, u'1'), 25);
    row("a null character is one", QString(15, QChar(0)), 25);
    row("payment", u"weixin://wxpay/bizpayurl?pr=AbCdEf0"_s, 29);
    row("all that a code holds", QString(2331, u'a'), 177);
    row("more than a code holds", QString(2332, u'a'), 0);
}

void tst_QRCodeImageProvider::code()
{
    QFETCH(QString, text);
    QFETCH(int, width);
    const QImage image = generateQRCode(text);
    QCOMPARE(image.isNull(), width == 0);
    if (width == 0)
        return;
    const int side = width + 2 * quietZone;
    QCOMPARE(image.size(), QSize(side, side) * 10);
    const QStringList lines = modules(image);
    QCOMPARE(lines.size(), side);
    for (int line = 0; line < quietZone; ++line)
        QVERIFY(lines[line].trimmed().isEmpty() && lines[side - 1 - line].trimmed().isEmpty());
    for (const QString &line : lines)
        QVERIFY(line.startsWith(u"    ") && line.endsWith(u"    "));
    QVERIFY(lines[quietZone].sliced(quietZone).startsWith(u"xxxxxxx "));
    QVERIFY(lines[quietZone + 1].sliced(quietZone).startsWith(u"x     x "));
    QCOMPARE(lines[quietZone + 8].sliced(quietZone, 2), u"x "_s); // stands for level M
}

void tst_QRCodeImageProvider::textOfItsOwn()
{
    const QString text = u"weixin://wxpay/bizpayurl?pr=AbCdEf0"_s;
    QCOMPARE(generateQRCode(text), generateQRCode(text));
    QVERIFY(generateQRCode(text) != generateQRCode(text.toLower()));
}

void tst_QRCodeImageProvider::address_data()
{
    const auto row = columns<QString>("text");
    row("payment", u"weixin://wxpay/bizpayurl?pr=a&b=%2F#c"_s);
    row("web page", u"http://127.0.0.1:8080/pay?order=1+2 3"_s);
    row("percent signs", u"100%25%"_s);
    row("Chinese", u"付款/二维码"_s);
    row("path parts", u"../a//b/./c"_s);
    row("nothing", {});
}

void tst_QRCodeImageProvider::address()
{
    QFETCH(QString, text);
    QQmlEngine engine;
    engine.addImageProvider(QRCodeImageProvider::scheme, new QRCodeImageProvider);
    QQmlComponent component(&engine);
    component.setData(R"(import QtQuick
        Image {
            required property string text
            source: "image://qrcode/" + encodeURIComponent(text)
            asynchronous: false
        })",
                      QUrl());
    const std::unique_ptr<QObject> image(component.createWithInitialProperties({{u"text"_s, text}}));
    QVERIFY2(image, qPrintable(component.errorString()));
    enum { Null, Ready, Loading, Error }; // Image.status
    QCOMPARE(image->property("status").toInt(), text.isEmpty() ? Error : Ready);
    QCOMPARE(image->property("sourceSize").toSize(), generateQRCode(text).size());
    QCOMPARE(QRCodeImageProvider().requestImage(QString::fromUtf8(QUrl::toPercentEncoding(text)),
                                                std::make_unique<QSize>().get(), QSize(22, 22)),
             generateQRCode(text));
}

QTEST_MAIN(tst_QRCodeImageProvider)
#include "tst_QRCodeImageProvider.moc"
