#include "QQBotPage.h"

#include "Utilities/Deployment.h"
#include "Utilities/JSONReader.h"

#include <QFile>
#include <QUuid>

namespace {

struct Credentials {
    QString appId;
    QString appSecret;
};

Decoded<Credentials> decodeCredentials(JSONValue value)
{
    JSONReader json(value);
    return json.result(Credentials{json.text("appId"), json.text("appSecret")});
}

} // namespace

QQBotPage::QQBotPage(QObject *parent)
    : QObject(parent)
    , m_mark(QStringLiteral("credentials:") + QUuid::createUuid().toString(QUuid::Id128) + u':')
{
}

QUrl QQBotPage::address()
{
    return Deployment::qqBotOrigin() + QStringLiteral("/qqbot/openclaw/index.html");
}

QString QQBotPage::credentialScript() const
{
    QFile file(QStringLiteral(":/qt-project.org/imports/Vaelix/qqbot-credentials.js"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("The script for the QQ bot platform's page is not among the resources");
    return QString::fromUtf8(file.readAll()).replace(QLatin1String("{{mark}}"), m_mark);
}

void QQBotPage::takeMessage(const QString &message)
{
    if (!message.startsWith(m_mark))
        return;
    if (const auto credentials = decodeJSON(message.sliced(m_mark.size()).toUtf8(), decodeCredentials))
        Q_EMIT credentialsDetected(credentials->appId, credentials->appSecret);
}
