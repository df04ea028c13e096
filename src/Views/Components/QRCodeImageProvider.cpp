#include "QRCodeImageProvider.h"

#include <QUrl>
#include <memory>
#include <qrencode.h>

static constexpr int quietZone = 4; // modules on each side
static constexpr int modulePixels = 10;

QImage generateQRCode(const QString &text)
{
    const QByteArray message = text.toUtf8();
    const auto *bytes = reinterpret_cast<const unsigned char *>(message.constData());
    const std::unique_ptr<QRcode, void (*)(QRcode *)> code(
        QRcode_encodeData(int(message.size()), bytes, 0, QR_ECLEVEL_M), QRcode_free);
    if (!code)
        return {};
    const int side = code->width + 2 * quietZone;
    QImage modules(side, side, QImage::Format_Grayscale8);
    modules.fill(Qt::white);
    for (int row = 0; row < code->width; ++row)
        for (int column = 0; column < code->width; ++column)
            if (code->data[row * code->width + column] & 1)
                modules.scanLine(row + quietZone)[column + quietZone] = 0;
    return modules.scaled(modules.size() * modulePixels, Qt::IgnoreAspectRatio, Qt::FastTransformation);
}

const QString QRCodeImageProvider::scheme = QStringLiteral("qrcode");

QRCodeImageProvider::QRCodeImageProvider()
    : QQuickImageProvider(QQuickImageProvider::Image)
{
}

QImage QRCodeImageProvider::requestImage(const QString &id, QSize *size, const QSize &)
{
    QImage image = generateQRCode(QUrl::fromPercentEncoding(id.toUtf8()));
    *size = image.size();
    return image;
}
