#include "Platform/WebEngineStorage.h"
#include "Support/Scratch.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

class tst_WebEngineStorage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void removesWhatEarlierVersionsLeft();
    void followsNoLink();
};

void tst_WebEngineStorage::removesWhatEarlierVersionsLeft()
{
    const Scratch scratch;
    QCoreApplication::setApplicationName(u"Vaelix"_s);
    qputenv("XDG_DATA_HOME", scratch.path(u"data"_s).toUtf8());
    qputenv("XDG_CACHE_HOME", scratch.path(u"cache"_s).toUtf8());
    // The paths that Qt WebEngine 6.4 wrote to.
    const QStringList written{u"data/Vaelix/QtWebEngine/login/Cookies"_s, u"data/Vaelix/QtWebEngine/qqbot/.hidden"_s,
                              u"cache/Vaelix/QtWebEngine/login/Cache/Cache_Data/data_1"_s};
    const QStringList others{u"data/Vaelix/update.zip"_s, u"cache/Vaelix/other"_s, u"cache/QtWebEngine/other"_s};
    for (const QString &path : written + others)
        scratch.write(path, "secret");

    WebEngineStorage::remove();
    for (const QString &path : written)
        QVERIFY2(!QFile::exists(scratch.path(path)), qPrintable(path));
    for (const QString &path : others)
        QVERIFY2(QFile::exists(scratch.path(path)), qPrintable(path));
    WebEngineStorage::remove();
}

void tst_WebEngineStorage::followsNoLink()
{
    const Scratch scratch;
    scratch.write(u"elsewhere/kept"_s, "kept");
    scratch.write(u"Vaelix/QtWebEngine/file"_s, {});
    scratch.write(u"Linked/file"_s, {});
    QVERIFY(QFile::link(scratch.path(u"elsewhere"_s), scratch.path(u"Vaelix/QtWebEngine/link"_s)));
    QVERIFY(QFile::link(scratch.path(u"elsewhere"_s), scratch.path(u"Linked/QtWebEngine"_s)));

    WebEngineStorage::removeFrom(scratch.path(u"Vaelix"_s));
    WebEngineStorage::removeFrom(scratch.path(u"Linked"_s));
    QVERIFY(!QFileInfo::exists(scratch.path(u"Vaelix/QtWebEngine"_s)));
    QVERIFY(!QFileInfo(scratch.path(u"Linked/QtWebEngine"_s)).isSymLink());
    QCOMPARE(scratch.read(u"elsewhere/kept"_s), "kept");
}

QTEST_GUILESS_MAIN(tst_WebEngineStorage)
#include "tst_WebEngineStorage.moc"
