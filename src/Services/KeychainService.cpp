#include "KeychainService.h"

#include "Platform/Keychain.h"

#include <simdjson.h>

KeychainService &KeychainService::shared()
{
    static KeychainService service;
    return service;
}

KeychainService::KeychainService(QString serviceName)
    : m_serviceName(std::move(serviceName))
{
}

void KeychainService::save(const QString &key, const QString &value)
{
    remove(key);
    Keychain::add(m_serviceName, key, value.toUtf8());
}

std::optional<QString> KeychainService::get(const QString &key) const
{
    const auto value = Keychain::find(m_serviceName, key);
    if (!value || !simdjson::validate_utf8(value->constData(), std::size_t(value->size())))
        return {};
    return QString::fromUtf8(*value);
}

void KeychainService::remove(const QString &key)
{
    Keychain::remove(m_serviceName, key);
}
