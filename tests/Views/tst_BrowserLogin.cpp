// The screens where web pages cannot be shown: what they offer instead, with a script of the test as the
// desktop's opener of addresses.

#include "Platform/WebEngineSandbox.h"
#include "Screens.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QUrlQuery>
#include <memory>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString noBrowser = u"没有找到浏览器，请复制地址，在任意浏览器中打开。"_s;

bool isWebEngineLoaded()
{
    QFile maps(u"/proc/self/maps"_s);
    return maps.open(QIODevice::ReadOnly) && maps.readAll().contains("libQt6WebEngine");
}

} // namespace

class tst_BrowserLogin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void aLoginInTheBrowserNeedsNoQuestion();
    void withoutABrowserTheAddressIsCopied();
    void aBotIsEnteredByHand();

private:
    void setOpener(const QByteArray &script) const;
    QUrl openedAddress() const { return QUrl(QString::fromUtf8(m_screens->scratch.read(u"opened"_s))); }

    std::unique_ptr<Screens> m_screens;
};

void tst_BrowserLogin::init()
{
    Screens::warnings.clear();
    m_screens = std::make_unique<Screens>(Screens::Start::SignedOut);
}

void tst_BrowserLogin::cleanup()
{
    m_screens.reset();
    QVERIFY(!isWebEngineLoaded());
    QCOMPARE(Screens::warnings.join(u'\n'), QString());
}

/// Replaces what the desktop opens addresses with.
void tst_BrowserLogin::setOpener(const QByteArray &script) const
{
    m_screens->scratch.writeProgram(u"opener/xdg-open"_s, "#!/bin/sh\n" + script);
    qputenv("PATH", m_screens->scratch.path(u"opener"_s).toUtf8() + ":/usr/bin:/bin");
    qputenv("OPENED", m_screens->scratch.path(u"opened"_s).toUtf8());
}

void tst_BrowserLogin::aLoginInTheBrowserNeedsNoQuestion()
{
    setOpener("printf %s \"$1\" > \"$OPENED.new\"; mv \"$OPENED.new\" \"$OPENED\"\n");
    m_screens->click(m_screens->button(u"登录 / 注册"_s));
    QTRY_VERIFY(m_screens->shows(WebEngineSandbox::obstacle()));
    QVERIFY(m_screens->button(u"在浏览器中登录"_s)->hasActiveFocus());
    QVERIFY(!m_screens->button(u"复制登录地址"_s));
    m_screens->press(Qt::Key_Return);
    QTRY_VERIFY(openedAddress().isValid());
    QCOMPARE(openedAddress().path(), u"/authorize"_s);

    const QString state = QUrlQuery(openedAddress()).queryItemValue(u"state"_s);
    m_screens->auth.handleOpenedAddress(QUrl(u"x-vaelix://callback?token=t&user_id=7&state="_s + state));
    QTRY_VERIFY(m_screens->button(u"仪表盘"_s));
    QCOMPARE(m_screens->auth.userId(), u"7"_s);
}

void tst_BrowserLogin::withoutABrowserTheAddressIsCopied()
{
    setOpener("exit 3\n");
    m_screens->click(m_screens->button(u"登录 / 注册"_s));
    QTRY_VERIFY(m_screens->button(u"在浏览器中登录"_s));
    m_screens->click(m_screens->button(u"在浏览器中登录"_s));
    QTRY_VERIFY(m_screens->shows(noBrowser) && m_screens->button(u"复制登录地址"_s));
    m_screens->settle();
    m_screens->click(m_screens->button(u"复制登录地址"_s));

    const QUrl copied(QGuiApplication::clipboard()->text());
    QCOMPARE(copied.path(), u"/authorize"_s);
    const QString state = QUrlQuery(copied).queryItemValue(u"state"_s);
    m_screens->auth.handleOpenedAddress(QUrl(u"x-vaelix://callback?token=t&user_id=7&state="_s + state));
    QVERIFY(m_screens->auth.isLoggedIn());

    m_screens->auth.logout();
    QTRY_VERIFY(m_screens->button(u"登录 / 注册"_s));
    m_screens->click(m_screens->button(u"登录 / 注册"_s));
    QTRY_VERIFY(m_screens->button(u"返回"_s));
    m_screens->click(m_screens->button(u"返回"_s));
    QTRY_VERIFY(m_screens->button(u"登录 / 注册"_s));
}

void tst_BrowserLogin::aBotIsEnteredByHand()
{
    setOpener("printf %s \"$1\" > \"$OPENED.new\"; mv \"$OPENED.new\" \"$OPENED\"\n");
    m_screens->signIn(u"张伟"_s);
    SoftwareCatalogEntry agent = testEntry(u"openclaw"_s);
    m_screens->openSoftware({agent});
    m_screens->select(agent.name);
    m_screens->setStatus(agent.id, SoftwareStatus::Installed);
    m_screens->click(m_screens->button(u"接入QQ"_s));
    QTRY_VERIFY(m_screens->shows(WebEngineSandbox::obstacle()));
    m_screens->settle();
    m_screens->click(m_screens->button(u"在浏览器中打开"_s));
    QTRY_COMPARE(openedAddress().path(), u"/qqbot/openclaw/index.html"_s);

    m_screens->settle();
    m_screens->click(m_screens->element(QAccessible::EditableText, u"AppID"_s));
    m_screens->type(u"1029384756"_s);
    m_screens->click(m_screens->element(QAccessible::EditableText, u"AppSecret"_s));
    m_screens->type(u"Kq7ZtB2xWm94LrVfYd8"_s);
    QVERIFY(!m_screens->button(u"接入"_s)->isEnabled());
    m_screens->type(u"1"_s);
    m_screens->click(m_screens->button(u"接入"_s));
    QTRY_VERIFY(m_screens->alert(u"检测到机器人凭证"_s));
    QVERIFY(m_screens->shows(u"APPID: 1029384756\nAPPSECRET: Kq7ZtB2x...\n\n是否将此机器人接入 OpenClaw？"_s));
}

/// Where this user's web pages can be isolated, goes on in a name space where they cannot.
static void loseTheSandbox(char *argv[])
{
    if (!WebEngineSandbox::obstacle().isEmpty())
        return;
    const char *const command[] = {"unshare",
                                   "--user",
                                   "--map-current-user",
                                   "--keep-caps",
                                   "sh",
                                   "-c",
                                   "echo 0 > /proc/sys/user/max_user_namespaces && "
                                   "exec setpriv --inh-caps=-all --ambient-caps=-all \"$@\"",
                                   "sh"};
    std::vector<char *> line;
    for (const char *word : command)
        line.push_back(const_cast<char *>(word));
    for (; *argv; ++argv)
        line.push_back(*argv);
    line.push_back(nullptr);
    ::execvp(line.front(), line.data());
}

int main(int argc, char *argv[])
{
    for (const char *variable : {"QTWEBENGINE_DISABLE_SANDBOX", "QTWEBENGINE_CHROMIUM_FLAGS"})
        qunsetenv(variable);
    loseTheSandbox(argv);
    const QGuiApplication application(argc, argv);
    tst_BrowserLogin test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_BrowserLogin.moc"
