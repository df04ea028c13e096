#pragma once

#include <QCoroTask>
#include <QObject>

class APIError;
class TokenAPIService;

/// What the sheet for a new password does: checks what was typed, asks the server, says how it went.
/// The user stays signed in whatever the answer. Interface thread only.
class ChangePasswordViewModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(bool showSuccess READ showSuccess NOTIFY showSuccessChanged)

public:
    /// Wired to the shared service.
    explicit ChangePasswordViewModel(QObject *parent = nullptr);
    explicit ChangePasswordViewModel(TokenAPIService &tokenAPI, QObject *parent = nullptr);

    /// Nothing is sent unless the new password is at least 6 user-perceived characters long, the
    /// same both times and another than the old one.
    QCoro::Task<> changePassword(QString oldPassword, QString newPassword, QString confirmPassword);

    /// The server is being asked.
    bool isLoading() const { return m_isLoading; }
    QString errorMessage() const { return m_errorMessage; } ///< empty when none
    /// The password was changed.
    bool showSuccess() const { return m_showSuccess; }

Q_SIGNALS:
    void isLoadingChanged();
    void errorMessageChanged();
    void showSuccessChanged();

private:
    void setIsLoading(bool isLoading);
    void setErrorMessage(const QString &message);

    TokenAPIService &m_tokenAPI;
    bool m_isLoading = false;
    QString m_errorMessage;
    bool m_showSuccess = false;
};
