#include "Pasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

void Pasteboard::copyText(const QString &text) const
{
    QGuiApplication::clipboard()->setText(text);
}

void Pasteboard::copyOutput(const TerminalOutput *output) const
{
    copyText(QString::fromUtf8(output->text()));
}
