#include "Bundles.h"

#include "Models/AppVersionInfo.h"
#include "Platform/Bundle.h"

#include <QDir>
#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;

static void write(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

void makeBundle(const QString &path, int build, const QByteArray &program)
{
    const QString contents = path + u"/Contents"_s;
    const QByteArray own = "#!/bin/sh\necho '" + versionOf(build).toUtf8() + "'\n";
    write(contents + u"/MacOS/Program"_s, program.isEmpty() ? own : program);
    QVERIFY(QFile::setPermissions(contents + u"/MacOS/Program"_s, QFile::ReadOwner | QFile::ExeOwner));
    write(contents + u"/Info.plist"_s,
          "<plist version=\"1.0\"><dict><key>CFBundleExecutable</key><string>Program</string>"
          "<key>CFBundleVersion</key><string>"
              + QByteArray::number(build) + "</string></dict></plist>");
    // As many bytes more as its number tells.
    write(contents + u"/Resources/data"_s, QByteArray(100'000 + build, 'x'));
    QVERIFY(QFile::link(u"data"_s, contents + u"/Resources/link"_s));
}

QString versionOf(int build)
{
    return AppVersionInfo{.version = u"1.2.0"_s, .buildNumber = build}.versionLine();
}

QString buildOf(const QString &bundle)
{
    return Bundle::at(bundle).buildNumber().value_or(QString());
}

QString makeImage(const QString &folder, const QString &image)
{
    QProcess xorriso;
    xorriso.start(u"xorriso"_s, {u"-as"_s, u"mkisofs"_s, u"-quiet"_s, u"-hfsplus"_s, u"-R"_s, u"-o"_s, image, folder});
    const bool isMade = xorriso.waitForFinished() && xorriso.exitCode() == 0;
    return isMade ? QString()
                  : u"xorriso: "_s + xorriso.errorString() + QString::fromUtf8(xorriso.readAllStandardError());
}
