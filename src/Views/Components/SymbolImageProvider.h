#pragma once

#include <QQuickImageProvider>

/// Draws symbols in any colour and at any size: "image://symbol/<name>?<colour>", the colour as
/// "rrggbb" or "aarrggbb". A name that is not in the table draws a neutral icon, since catalogs come
/// from a server.
class SymbolImageProvider : public QQuickImageProvider
{
public:
    static const QString scheme;

    SymbolImageProvider();

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;
};
