#include "SymbolImageProvider.h"

#include <QColor>
#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

namespace {

const QSize unsizedRequest(16, 16);

QByteArray symbolFile(const QString &name)
{
    QFile file(QStringLiteral(":/symbols/") + name);
    if (name.isEmpty() || !file.exists())
        file.setFileName(QStringLiteral(":/symbols/cpu"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Replaces the colour of every opaque or half transparent pixel, keeping how opaque it is.
void tint(QPainter &painter, const QRect &area, const QColor &color)
{
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(area, color);
}

} // namespace

const QString SymbolImageProvider::scheme = QStringLiteral("symbol");

SymbolImageProvider::SymbolImageProvider()
    : QQuickImageProvider(QQuickImageProvider::Image)
{
}

QImage SymbolImageProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    const QString name = id.section(u'?', 0, 0);
    const QColor color(u'#' + id.section(u'?', 1));
    const QSize imageSize = requestedSize.isEmpty() ? unsizedRequest : requestedSize;
    QImage image(imageSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    QSvgRenderer(symbolFile(name)).render(&painter);
    tint(painter, image.rect(), color.isValid() ? color : Qt::black);
    *size = imageSize;
    return image;
}
