#include "Pasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

void Pasteboard::copyOutput(const TerminalOutput *output) const
{
    QGuiApplication::clipboard()->setText(QString::fromUtf8(output->text()));
}
