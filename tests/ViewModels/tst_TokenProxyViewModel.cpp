#include "Support/Scratch.h"
#include "Support/Table.h"
#include "ViewModels/TokenProxyViewModel.h"

using namespace Qt::StringLiterals;

class tst_TokenProxyViewModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void key_data();
    void key();
};

void tst_TokenProxyViewModel::key_data()
{
    const auto row = columns<QString, QString>("key", "shortened");
    const QString forty = u"sk-4567890123456789012345678901234567890"_s;
    row("long", forty, u"sk-45678901234567890..."_s);
    row("just 20", forty.left(20), forty.left(20) + u"..."_s);
    row("short", u"0123456789"_s, u"0123456789..."_s);
    row("characters of two code units", u"🔑"_s.repeated(21), u"🔑"_s.repeated(20) + u"..."_s);
}

void tst_TokenProxyViewModel::key()
{
    QFETCH(QString, key);
    Scratch scratch;
    const TokenProxyViewModel signedOut(u"https://api.example"_s, scratch.keychain);
    QCOMPARE(signedOut.apiEndpoint(), u"https://api.example/v1"_s);
    QCOMPARE(signedOut.apiKey(), u"请先登录"_s);
    QCOMPARE(signedOut.shortenedAPIKey(), u"请先登录"_s);

    scratch.keychain.save(u"user_api_key"_s, key);
    const TokenProxyViewModel signedIn(u"https://api.example"_s, scratch.keychain);
    scratch.keychain.remove(u"user_api_key"_s);
    QCOMPARE(signedIn.apiKey(), key);
    QTEST(signedIn.shortenedAPIKey(), "shortened");
}

QTEST_GUILESS_MAIN(tst_TokenProxyViewModel)
#include "tst_TokenProxyViewModel.moc"
