#include "Support/Served.h"
#include "Support/Table.h"
#include "ViewModels/ChangePasswordViewModel.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

const QString path = u"/user/change-password"_s;

struct Fixture : Served {
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
    // message: empty: it is sent
    const auto row =
        columns<QString, QString, QString, QString>("oldPassword", "newPassword", "confirmPassword", "message");
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
    fixture.answer(path, R"({"code":0,"message":"ok"})", 200, "POST");
    QSignalSpy loading(&fixture.viewModel, &ChangePasswordViewModel::isLoadingChanged);
    QCoro::waitFor(fixture.viewModel.changePassword(oldPassword, newPassword, confirmPassword));
    QCOMPARE(fixture.viewModel.errorMessage(), message);
    QCOMPARE(fixture.viewModel.showSuccess(), message.isEmpty());
    QCOMPARE(fixture.server.requests().size(), message.isEmpty() ? 1 : 0);
    QCOMPARE(loading.count(), message.isEmpty() ? 2 : 0);
}

void tst_ChangePasswordViewModel::refusal_data()
{
    const auto row = columns<int, QByteArray, QString>("status", "body", "message");
    row("by code", 200, R"({"code":1001,"message":"当前密码不正确"})", u"当前密码不正确"_s);
    row("by status", 500, "oops", u"oops"_s);
    row("signed out", 401, "{}", u"认证过期，请重新登录"_s);
    row("not understood", 200, R"({"code":0})", u"数据解析错误: 字段 “message” 缺失"_s);
}

void tst_ChangePasswordViewModel::refusal()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    Fixture fixture;
    fixture.scratch.keychain.save(u"auth_token"_s, u"t"_s);
    const auto token = fixture.scratch.keychain.get(u"auth_token"_s);
    fixture.answer(path, body, status, "POST");
    QCoro::waitFor(fixture.viewModel.changePassword(u"old"_s, u"123456"_s, u"123456"_s));
    QTEST(fixture.viewModel.errorMessage(), "message");
    QVERIFY(!fixture.viewModel.isLoading() && !fixture.viewModel.showSuccess());
    QCOMPARE(fixture.scratch.keychain.get(u"auth_token"_s), token);
    fixture.scratch.keychain.remove(u"auth_token"_s);

    fixture.answer(path, R"({"code":0,"message":"ok"})", 200, "POST");
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
