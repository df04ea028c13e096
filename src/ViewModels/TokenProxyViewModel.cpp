#include "TokenProxyViewModel.h"

#include "Services/KeychainService.h"
#include "Utilities/Deployment.h"

#include <QTextBoundaryFinder>

namespace {

QString firstCharacters(const QString &text, int count)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype end = 0;
    while (count-- > 0 && end >= 0 && end < text.size())
        end = finder.toNextBoundary();
    return text.left(end);
}

} // namespace

TokenProxyViewModel::TokenProxyViewModel(QObject *parent)
    : TokenProxyViewModel(Deployment::cloudAPIOrigin(), KeychainService::shared(), parent)
{
}

TokenProxyViewModel::TokenProxyViewModel(const QString &cloudAPIOrigin, const KeychainService &keychain,
                                         QObject *parent)
    : QObject(parent)
    , m_apiEndpoint(cloudAPIOrigin + QStringLiteral("/v1"))
    , m_apiKey(keychain.get(QStringLiteral("user_api_key")))
{
}

QString TokenProxyViewModel::shortenedAPIKey() const
{
    return m_apiKey ? firstCharacters(*m_apiKey, 20) + QStringLiteral("...") : apiKey();
}
