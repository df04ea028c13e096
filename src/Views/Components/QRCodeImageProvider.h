#pragma once

#include <QQuickImageProvider>

/// Draws texts as QR codes: "image://qrcode/<text>", the text percent-encoded. The image ends in
/// error when the text is empty or too long for a code. Whatever size is asked for, a module is 10
/// pixels wide: show it unsmoothed.
class QRCodeImageProvider : public QQuickImageProvider
{
public:
    static const QString scheme;

    QRCodeImageProvider();

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;
};

/// The text's UTF-8 bytes as a QR code with error correction level M and the quiet zone of 4 modules
/// that readers need, 10 pixels a module; null when the text is empty or too long.
QImage generateQRCode(const QString &text);
