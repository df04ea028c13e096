#include "ScannedCode.h"

#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

QString scannedCode(const QImage &image)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(u"code.png"_s);
    if (!image.save(file))
        qFatal("cannot write %s", qPrintable(file));
    QProcess reader;
    reader.start(u"zbarimg"_s, {u"--quiet"_s, u"--raw"_s, file});
    if (!reader.waitForFinished())
        qFatal("zbarimg (package zbar-tools): %s", qPrintable(reader.errorString()));
    return QString::fromUtf8(reader.readAllStandardOutput()).trimmed();
}
