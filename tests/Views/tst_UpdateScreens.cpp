// The check for updates, the prompt and its alerts in the real window, over the local server.

#include "Screens.h"
#include "Seed.h"
#include "Support/Served.h"
#include "Support/Table.h"

#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString downloadButton = u"下载更新"_s;
const QString laterButton = u"稍后提醒"_s;
const QString title = u"发现新版本"_s;

} // namespace

class tst_UpdateScreens : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theStartOffersAnUpdate();
    void theStartSaysNothingWithoutOne();
    void theUserAsksForUpdates();
    void anUpdatePutOffIsNotDownloaded_data();
    void anUpdatePutOffIsNotDownloaded();
    void aMandatoryUpdateCannotWait();
    void anInstallationThatCannotUpdateSaysSo();
    void aDownloadIsCancelled();
    void aDownloadThatFailsCanBeTriedAgain_data();
    void aDownloadThatFailsCanBeTriedAgain();
    void anInstallationThatFailsLeavesTheOffer_data();
    void anInstallationThatFailsLeavesTheOffer();

private:
    void openWindow(const QString &bundle = u"apps/Vaelix.app"_s);
    void offerUpdate(devserver::UpdateOffer offer = {.version = u"1.2.0"_s, .build = 120});
    void showPrompt();
    bool shows(const QString &text) const { return m_screens->shows(text); }
    QQuickItem *button(const QString &name) const { return m_screens->button(name); }
    void click(const QString &name) const { m_screens->click(button(name)); }
    void dismissAlert(const QString &name) const;

    std::unique_ptr<devserver::DevServer> m_server;
    std::unique_ptr<Screens> m_screens;
};

void tst_UpdateScreens::init()
{
    Screens::warnings.clear();
    openWindow();
}

/// A window of its own, somebody signed in, over a server that has no update yet.
void tst_UpdateScreens::openWindow(const QString &bundle)
{
    devserver::ServerState state{.accounts = devserver::embeddedAccounts().value()};
    const devserver::Account account = state.accounts.all().first();
    const QString token = state.accounts.issueToken(account);
    m_screens.reset();
    m_server = std::make_unique<devserver::DevServer>(std::move(state));
    m_screens = std::make_unique<Screens>(Screens::Start::SignedOut, m_server->start(0).value(), bundle);
    m_screens->signIn(account.displayName, token);
    QTRY_VERIFY(button(u"检查更新"_s));
}

void tst_UpdateScreens::cleanup()
{
    m_screens.reset();
    m_server.reset();
    QCOMPARE(Screens::warnings, QStringList());
}

void tst_UpdateScreens::offerUpdate(devserver::UpdateOffer offer)
{
    m_screens->scratch.write(u"image"_s, QByteArray(1'234'567, 'x'));
    QVERIFY(offer.setFile(m_screens->scratch.path(u"image"_s)));
    m_server->state().update = std::move(offer);
}

void tst_UpdateScreens::showPrompt()
{
    m_screens->updateViewModel.checkAtStart();
    QTRY_VERIFY(button(downloadButton));
    m_screens->settle();
}

void tst_UpdateScreens::dismissAlert(const QString &name) const
{
    QTRY_VERIFY(button(name) && button(name)->hasActiveFocus());
    m_screens->press(Qt::Key_Return);
    QTRY_VERIFY(!button(name));
}

void tst_UpdateScreens::theStartOffersAnUpdate()
{
    offerUpdate({.version = u"1.2.0"_s, .build = 120, .notes = u"• 新的仪表盘"_s});
    m_screens->updateViewModel.checkAtStart();
    QTRY_VERIFY(shows(title));
    for (const QString &text :
         {u"版本号"_s, u"1.2.0"_s, u"构建号: 120"_s, u"更新说明"_s, u"• 新的仪表盘"_s, u"文件大小"_s, u"1.2 MB"_s})
        QVERIFY2(shows(text), qPrintable(text));
    QVERIFY(!shows(u"强制更新"_s));
    m_screens->settle();
    click(laterButton);
    QTRY_VERIFY(!shows(title));
    click(u"检查更新"_s);
    QTRY_VERIFY(shows(title));
    m_screens->settle();
    m_screens->press(Qt::Key_Escape);
    QTRY_VERIFY(!shows(title));
}

void tst_UpdateScreens::theStartSaysNothingWithoutOne()
{
    m_screens->updateViewModel.checkAtStart();
    m_server->faults().set("GET", u"/api/v1/update/check"_s, {.status = 200, .body = "oops"});
    m_screens->updateViewModel.checkAtStart();
    QTRY_COMPARE(std::ranges::count(m_server->requests(), u"/api/v1/update/check"_s, &devserver::Request::path), 2);
    QTRY_VERIFY(!m_screens->updateCheck.isChecking());
    m_screens->settle();
    QVERIFY(!shows(title) && !shows(u"已是最新版本"_s));
}

void tst_UpdateScreens::theUserAsksForUpdates()
{
    m_server->faults().set("GET", u"/api/v1/update/check"_s, {.delay = std::chrono::milliseconds(300)});
    click(u"检查更新"_s);
    QTRY_VERIFY(!button(u"检查更新"_s)->isEnabled());
    QVERIFY(m_screens->element(QAccessible::ProgressBar, u"请稍候"_s));
    dismissAlert(u"好"_s);
    QVERIFY(button(u"检查更新"_s)->isEnabled());
    QCOMPARE(std::ranges::count(m_server->requests(), u"/api/v1/update/check"_s, &devserver::Request::path), 1);

    m_server->faults().set("GET", u"/api/v1/update/check"_s, {.drop = devserver::Drop::MidBody});
    click(u"检查更新"_s);
    QTRY_VERIFY(shows(u"已是最新版本"_s));
    QVERIFY(shows(u"当前没有可用的更新。"_s));
}

void tst_UpdateScreens::anUpdatePutOffIsNotDownloaded_data()
{
    const auto row = columns<bool>("byEscape");
    row("later", false);
    row("Esc", true);
}

void tst_UpdateScreens::anUpdatePutOffIsNotDownloaded()
{
    QFETCH(bool, byEscape);
    offerUpdate();
    showPrompt();
    QQuickItem *const download = button(downloadButton);
    if (byEscape)
        m_screens->press(Qt::Key_Escape);
    else
        click(laterButton);
    m_screens->click(download); // the prompt has not gone yet
    QVERIFY(shows(u"1.2.0"_s));
    QTRY_VERIFY(!shows(title));
    QVERIFY(!m_screens->updateViewModel.isDownloading());
    QCOMPARE(std::ranges::count(m_server->requests(), u"/downloads/Vaelix.dmg"_s, &devserver::Request::path), 0);
}

void tst_UpdateScreens::aMandatoryUpdateCannotWait()
{
    offerUpdate({.version = u"1.2.0"_s, .build = 120, .isMandatory = true});
    m_screens->updateViewModel.checkAtStart();
    QTRY_VERIFY(shows(u"强制更新"_s));
    m_screens->settle();
    QVERIFY(!button(laterButton));
    m_screens->press(Qt::Key_Escape);
    m_screens->settle();
    QVERIFY(button(downloadButton));
}

void tst_UpdateScreens::anInstallationThatCannotUpdateSaysSo()
{
    openWindow(u"a$b/Vaelix.app"_s);
    offerUpdate();
    m_screens->updateViewModel.checkAtStart();
    QTRY_VERIFY(shows(title));
    QVERIFY(!button(downloadButton));
    QVERIFY(shows(m_screens->updateViewModel.obstacle()));
}

void tst_UpdateScreens::aDownloadIsCancelled()
{
    offerUpdate();
    showPrompt();
    m_server->state().update->delivery = {.pieceSize = 10'000, .pause = std::chrono::milliseconds(20)};
    click(downloadButton);
    QTRY_VERIFY(button(u"取消下载"_s));
    QVERIFY(!button(laterButton) && !button(downloadButton));
    QTRY_VERIFY(m_screens->updateViewModel.downloadProgress() > 0.05);
    const int percent = int(m_screens->updateViewModel.downloadProgress() * 100);
    QVERIFY(shows(u"下载中... %1%"_s.arg(percent)));
    m_screens->press(Qt::Key_Escape); // does not close it now
    click(u"取消下载"_s);
    QVERIFY(button(downloadButton)); // at once
    QCOMPARE(m_screens->updateViewModel.downloadProgress(), 0.0);
    QTRY_VERIFY(shows(u"下载失败"_s));
    QVERIFY(shows(u"已取消"_s));
    dismissAlert(u"好"_s);
    QTRY_VERIFY(!m_screens->updateCheck.isDownloading());
    QVERIFY(!QFile::exists(m_screens->scratch.folders.applicationSupport + u"/Vaelix/Updates/update.zip"_s));
    QVERIFY(button(downloadButton) && button(laterButton));
}

void tst_UpdateScreens::aDownloadThatFailsCanBeTriedAgain_data()
{
    const auto row = columns<QString, int, QString>("url", "cutAfter", "reason");
    row("not there", u"/downloads/other"_s, 0, u"服务器返回错误（HTTP 404）"_s);
    row("cut off", u"/downloads/Vaelix.dmg"_s, 1000, u"服务器中断了连接"_s);
    row("no address", u""_s, 0, u"更新文件不存在"_s);
    row("no server there", u"http://127.0.0.1:9/x"_s, 0, u"无法连接到服务器"_s);
}

void tst_UpdateScreens::aDownloadThatFailsCanBeTriedAgain()
{
    QFETCH(QString, url);
    QFETCH(int, cutAfter);
    QFETCH(QString, reason);
    offerUpdate({.version = u"1.2.0"_s, .build = 120, .url = url});
    if (cutAfter > 0)
        m_server->state().update->delivery.cutAfter = cutAfter;
    showPrompt();
    for (int time = 0; time < 2; ++time) {
        click(downloadButton);
        QTRY_VERIFY(shows(u"下载失败"_s));
        QVERIFY2(shows(reason), qPrintable(m_screens->texts().join(u'|')));
        dismissAlert(u"好"_s);
        QVERIFY(button(downloadButton));
    }
}

void tst_UpdateScreens::anInstallationThatFailsLeavesTheOffer_data()
{
    const auto row = columns<QString, bool, QString>("hash", "announceLength", "reason");
    row("wrong hash", QString(64, u'0'), true, u"更新包哈希验证失败，文件可能已损坏"_s);
    row("not an image, of unknown length", u""_s, false, u"解压更新包失败"_s);
}

void tst_UpdateScreens::anInstallationThatFailsLeavesTheOffer()
{
    QFETCH(QString, hash);
    QFETCH(bool, announceLength);
    QFETCH(QString, reason);
    // Goes on once it is told to.
    m_screens->scratch.writeProgram(u"hdiutil"_s,
                                    "#!/bin/sh\nwhile [ ! -e '" + QFile::encodeName(m_screens->scratch.path(u"go"_s))
                                        + "' ]; do sleep 0.05; done\nexit 1\n");
    offerUpdate();
    m_server->state().update->fileHash = hash;
    m_server->state().update->delivery.announcesLength = announceLength;
    showPrompt();
    click(downloadButton);
    if (hash.isEmpty()) {
        QTRY_VERIFY(shows(u"正在安装更新，请稍候..."_s) && shows(u"正在挂载安装镜像..."_s));
        QVERIFY(!button(laterButton) && !button(u"取消下载"_s));
    }
    m_screens->scratch.write(u"go"_s, "");
    QTRY_VERIFY(shows(u"更新失败"_s));
    QVERIFY(shows(reason));
    dismissAlert(u"确定"_s);
    QTRY_VERIFY(button(downloadButton) && button(laterButton));
}

QTEST_MAIN(tst_UpdateScreens)
#include "tst_UpdateScreens.moc"
