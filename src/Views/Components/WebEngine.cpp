#include "WebEngine.h"

#include "Platform/WebEngineSandbox.h"

#include <QOpenGLContext>

// Exported by Qt for Qt WebEngine; declared in no public header.
Q_GUI_EXPORT void qt_gl_set_global_share_context(QOpenGLContext *context);
Q_GUI_EXPORT QOpenGLContext *qt_gl_global_share_context();

QString WebEngine::prepare()
{
    QString obstacle = WebEngineSandbox::obstacle();
    if (!obstacle.isEmpty() || qt_gl_global_share_context())
        return obstacle;
    // Qt WebEngine uses it until the process ends, and needs it even where it cannot be created: it
    // then draws without it.
    auto *const context = new QOpenGLContext;
    context->create();
    qt_gl_set_global_share_context(context);
    return {};
}
