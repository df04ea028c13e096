#include "QmlTypes.h"

#include "Components/QRCodeImageProvider.h"
#include "Components/SymbolImageProvider.h"

#include <QFont>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickWindow>

// The linker leaves out of a static library what nothing names.
extern void qml_register_types_Vaelix();

static void initializeResources()
{
    Q_INIT_RESOURCE(symbols);
    Q_INIT_RESOURCE(qmake_Vaelix);
    Q_INIT_RESOURCE(vaelixviews_raw_qml_0);
    Q_INIT_RESOURCE(qmlcache_vaelixviews);
    qml_register_types_Vaelix();
}

void installViews(QQmlEngine &engine)
{
    initializeResources();
    // For the Chinese characters in a terminal's output.
    QFont::insertSubstitution(QStringLiteral("DejaVu Sans Mono"), QStringLiteral("Noto Sans Mono CJK SC"));
    QQuickWindow::setTextRenderType(QQuickWindow::NativeTextRendering);
    engine.addImageProvider(SymbolImageProvider::scheme, new SymbolImageProvider);
    engine.addImageProvider(QRCodeImageProvider::scheme, new QRCodeImageProvider);
}

Appearance *AppearanceType::create(QQmlEngine *, QJSEngine *)
{
    QJSEngine::setObjectOwnership(&Appearance::shared(), QJSEngine::CppOwnership);
    return &Appearance::shared();
}
