#include "ChangePasswordViewModel.h"

#include "Services/TokenAPIService.h"
#include "Utilities/Text.h"

#include <QPointer>

namespace {

constexpr qsizetype leastLength = 6; // in user-perceived characters

/// What is wrong with the input; empty when nothing is.
QString complaint(const QString &oldPassword, const QString &newPassword, const QString &confirmPassword)
{
    const bool isTooShort = lastCharactersStart(newPassword, leastLength - 1) == 0;
    if (isTooShort)
        return QStringLiteral("新密码长度不能少于6位");
    if (newPassword != confirmPassword)
        return QStringLiteral("两次输入的新密码不一致");
    if (newPassword == oldPassword)
        return QStringLiteral("新密码不能与旧密码相同");
    return {};
}

/// The server's own words where it refused.
QString reason(const APIError &error)
{
    return error.kind() == APIError::Kind::HTTPError ? error.text() : error.description();
}

} // namespace

ChangePasswordViewModel::ChangePasswordViewModel(QObject *parent)
    : ChangePasswordViewModel(TokenAPIService::shared(), parent)
{
}

ChangePasswordViewModel::ChangePasswordViewModel(TokenAPIService &tokenAPI, QObject *parent)
    : QObject(parent)
    , m_tokenAPI(tokenAPI)
{
}

QCoro::Task<> ChangePasswordViewModel::changePassword(QString oldPassword, QString newPassword, QString confirmPassword)
{
    const QPointer self(this);
    setErrorMessage(complaint(oldPassword, newPassword, confirmPassword));
    if (!m_errorMessage.isEmpty())
        co_return;
    setIsLoading(true);
    const auto outcome = co_await m_tokenAPI.changePassword(oldPassword, newPassword);
    if (!self)
        co_return;
    setIsLoading(false);
    if (!outcome) {
        setErrorMessage(reason(outcome.error()));
        co_return;
    }
    m_showSuccess = true;
    Q_EMIT showSuccessChanged();
}

void ChangePasswordViewModel::setIsLoading(bool isLoading)
{
    if (m_isLoading == isLoading)
        return;
    m_isLoading = isLoading;
    Q_EMIT isLoadingChanged();
}

void ChangePasswordViewModel::setErrorMessage(const QString &message)
{
    if (m_errorMessage == message)
        return;
    m_errorMessage = message;
    Q_EMIT errorMessageChanged();
}
