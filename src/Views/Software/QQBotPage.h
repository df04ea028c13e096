#pragma once

#include <QObject>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

/// What the application has to say to the QQ bot platform's page, and what it hears from it. The
/// script runs in every frame, out of reach of the page's own scripts, and reports by a console
/// message, as only those arrive from frames inside the page too; a mark that no page can know tells
/// them from the page's own.
class QQBotPage : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QUrl address READ address CONSTANT)

public:
    explicit QQBotPage(QObject *parent = nullptr);

    static QUrl address();

    /// Looks for a bot's id and secret in a document, again and again until it holds both, and then
    /// reports them once.
    Q_INVOKABLE QString credentialScript() const;

    /// Takes any message of the page's console.
    Q_INVOKABLE void takeMessage(const QString &message);

Q_SIGNALS:
    void credentialsDetected(const QString &appId, const QString &appSecret);

private:
    const QString m_mark;
};
