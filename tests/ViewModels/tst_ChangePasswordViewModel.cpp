#include "DevServer.h"
#include "Services/TokenAPIService.h"
#include "Support/Scratch.h"
#include "ViewModels/ChangePasswordViewModel.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

struct Fixture {
    void answer(int status, const QByteArray &body)
    {
        server.faults().set("POST", u"/api/v1/user/change-password"_s, {.status = status, .body = body});
    }

    devserver::DevServer server{devserver::ServerState{}};
    Scratch scratch{server.start(0).value()};
    TokenAPIService tokenAPI{scratch.api};
    ChangePasswordViewModel viewModel{tokenAPI};
};

} // namespace

class tst_ChangePasswordViewModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void input_data();
    void input();
    void refusal_data();
    void refusal();
    void viewModelMayGoWhileTheServerIsAsked();
};

void tst_ChangePasswordViewModel::input_data()
{
    QTest::addColumn<QString>("oldPassword");
    QTest::addColumn<QString>("newPassword");
    QTest::addColumn<QString>("confirmPassword");
    QTest::addColumn<QString>("message"); // empty: it is sent
    const auto row = [](const char *name, const QString &old, const QString &fresh, const QString &again,
                        const QString &message) { QTest::newRow(name) << old << fresh << again << message; };
    const QString tooShort = u"新密码长度不能少于6位"_s;
    row("six", u"old"_s, u"123456"_s, u"123456"_s, {});
    row("six Chinese characters", u"old"_s, u"一二三四五六"_s, u"一二三四五六"_s, {});
    row("five, and another the second time", u"old"_s, u"12345"_s, u"x"_s, tooShort);
    row("five of two code units each", u"old"_s, u"🔑"_s.repeated(5), {}, tooShort);
    row("five with combining marks", u"old"_s, u"e\u0301e\u0301e\u0301e\u0301e\u0301"_s, {}, tooShort);
    row("none", u"old"_s, {}, {}, tooShort);
    row("another the second time", u"old"_s, u"123456"_s, u"1234567"_s, u"两次输入的新密码不一致"_s);
    row("another case the second time", u"old"_s, u"abcdef"_s, u"Abcdef"_s, u"两次输入的新密码不一致"_s);
    row("differs from both", u"123456"_s, u"123456"_s, u"x"_s, u"两次输入的新密码不一致"_s);
    row("the old one", u"123456"_s, u"123456"_s, u"123456"_s, u"新密码不能与旧密码相同"_s);
}

void tst_ChangePasswordViewModel::input()
{
    QFETCH(QString, oldPassword);
    QFETCH(QString, newPassword);
    QFETCH(QString, confirmPassword);
    QFETCH(QString, message);
    Fixture fixture;
    fixture.answer(200, R"({"code":0,"message":"ok"})");
    QSignalSpy loading(&fixture.viewModel, &ChangePasswordViewModel::isLoadingChanged);
    QCoro::waitFor(fixture.viewModel.changePassword(oldPassword, newPassword, confirmPassword));
    QCOMPARE(fixture.viewModel.errorMessage(), message);
    QCOMPARE(fixture.viewModel.showSuccess(), message.isEmpty());
    QCOMPARE(fixture.server.requests().size(), message.isEmpty() ? 1 : 0);
    QCOMPARE(loading.count(), message.isEmpty() ? 2 : 0);
}

void tst_ChangePasswordViewModel::refusal_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("message");
    QTest::newRow("by code") << 200 << QByteArray(R"({"code":1001,"message":"当前密码不正确"})") << u"当前密码不正确"_s;
    QTest::newRow("by status") << 500 << QByteArray("oops") << u"oops"_s;
    QTest::newRow("signed out") << 401 << QByteArray("{}") << u"认证过期，请重新登录"_s;
    QTest::newRow("not understood") << 200 << QByteArray(R"({"code":0})") << u"数据解析错误: 字段 “message” 缺失"_s;
}

void tst_ChangePasswordViewModel::refusal()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    Fixture fixture;
    fixture.scratch.keychain.save(u"auth_token"_s, u"t"_s);
    const auto token = fixture.scratch.keychain.get(u"auth_token"_s);
    fixture.answer(status, body);
    QCoro::waitFor(fixture.viewModel.changePassword(u"old"_s, u"123456"_s, u"123456"_s));
    QTEST(fixture.viewModel.errorMessage(), "message");
    QVERIFY(!fixture.viewModel.isLoading() && !fixture.viewModel.showSuccess());
    QCOMPARE(fixture.scratch.keychain.get(u"auth_token"_s), token);
    fixture.scratch.keychain.remove(u"auth_token"_s);

    fixture.answer(200, R"({"code":0,"message":"ok"})");
    QCoro::waitFor(fixture.viewModel.changePassword(u"old"_s, u"123456"_s, u"123456"_s));
    QCOMPARE(fixture.viewModel.errorMessage(), QString());
    QVERIFY(fixture.viewModel.showSuccess());
}

void tst_ChangePasswordViewModel::viewModelMayGoWhileTheServerIsAsked()
{
    Fixture fixture;
    auto viewModel = std::make_unique<ChangePasswordViewModel>(fixture.tokenAPI);
    auto change = viewModel->changePassword(u"old"_s, u"123456"_s, u"123456"_s);
    QVERIFY(viewModel->isLoading());
    viewModel.reset();
    QCoro::waitFor(std::move(change));
    QCOMPARE(fixture.server.requests().size(), 1);
}

QTEST_GUILESS_MAIN(tst_ChangePasswordViewModel)
#include "tst_ChangePasswordViewModel.moc"
