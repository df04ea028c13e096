#include "Keychain.h"

#include "SessionBus.h"

// libsecret's headers use a word that Qt takes as a keyword.
#undef signals
#include <libsecret/secret.h>

#include <cstdio>
#include <memory>
#include <utility>

namespace {

template<auto release> struct Releaser {
    template<typename T> void operator()(T *object) const { release(object); }
};
template<typename T> using GObjectPointer = std::unique_ptr<T, Releaser<g_object_unref>>;
using ErrorPointer = std::unique_ptr<GError, Releaser<g_error_free>>;
using ValuePointer = std::unique_ptr<SecretValue, Releaser<secret_value_unref>>;
using AttributesPointer = std::unique_ptr<GHashTable, Releaser<g_hash_table_unref>>;

const SecretSchema &schema()
{
    static const SecretSchema schema = {"com.vaelix.app.Credential",
                                        SECRET_SCHEMA_NONE,
                                        {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                         {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                         {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                                        0,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr};
    return schema;
}

AttributesPointer attributes(const QString &service, const QString &account)
{
    return AttributesPointer(secret_attributes_build(&schema(), "service", qUtf8Printable(service), "account",
                                                     qUtf8Printable(account), nullptr));
}

/// Once, however often the store is asked.
void warn(const char *line)
{
    static bool isWarned = false;
    if (!std::exchange(isWarned, true))
        std::fprintf(stderr, "%s\n", line);
}

/// Null, with a warning, when there is none.
GObjectPointer<SecretService> openService()
{
    GObjectPointer<SecretService> service;
    if (hasSessionBus()) {
        GError *error = nullptr;
        service.reset(secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, nullptr, &error));
        const ErrorPointer owner(error);
    }
    if (!service)
        warn("⚠️ 找不到系统密钥服务（Secret Service），登录凭据无法保存，退出 Vaelix 后需要重新登录");
    return service;
}

/// The collection new items go to; null, with a warning, when there is none or it is locked.
GObjectPointer<SecretCollection> unlockedCollection(SecretService *service)
{
    GError *error = nullptr;
    GObjectPointer<SecretCollection> collection(
        secret_collection_for_alias_sync(service, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, nullptr, &error));
    const ErrorPointer owner(error);
    if (collection && !secret_collection_get_locked(collection.get()))
        return collection;
    warn("⚠️ 系统密钥环已锁定或尚未建立，登录凭据无法读取和保存；解锁后请重新打开 Vaelix");
    return nullptr;
}

/// The unlocked items that match, with their secrets.
template<typename Visit> void forEachItem(const QString &service, const QString &account, Visit visit)
{
    const auto store = openService();
    if (!store)
        return;
    GError *error = nullptr;
    const auto flags = SecretSearchFlags(SECRET_SEARCH_ALL | SECRET_SEARCH_LOAD_SECRETS);
    GList *items =
        secret_service_search_sync(store.get(), &schema(), attributes(service, account).get(), flags, nullptr, &error);
    const ErrorPointer owner(error);
    bool isFound = false;
    for (GList *link = items; link; link = link->next) {
        if (auto *item = SECRET_ITEM(link->data); !secret_item_get_locked(item)) {
            isFound = true;
            visit(item);
        }
    }
    // A locked store need not even admit that it holds the item.
    if (!isFound)
        unlockedCollection(store.get());
    g_list_free_full(items, g_object_unref);
}

} // namespace

std::optional<QByteArray> Keychain::find(const QString &service, const QString &account)
{
    std::optional<QByteArray> found;
    forEachItem(service, account, [&found](SecretItem *item) {
        const ValuePointer value(secret_item_get_secret(item));
        if (!value)
            return;
        gsize length = 0;
        const char *bytes = secret_value_get(value.get(), &length);
        found = QByteArray(bytes, qsizetype(length));
    });
    return found;
}

bool Keychain::add(const QString &service, const QString &account, const QByteArray &value)
{
    const auto store = openService();
    if (!store)
        return false;
    const auto collection = unlockedCollection(store.get());
    if (!collection)
        return false;
    const ValuePointer secret(secret_value_new(value.constData(), value.size(), "text/plain"));
    GError *error = nullptr;
    const GObjectPointer<SecretItem> item(
        secret_item_create_sync(collection.get(), &schema(), attributes(service, account).get(),
                                qUtf8Printable(service), secret.get(), SECRET_ITEM_CREATE_NONE, nullptr, &error));
    const ErrorPointer owner(error);
    return item != nullptr;
}

void Keychain::remove(const QString &service, const QString &account)
{
    forEachItem(service, account, [](SecretItem *item) {
        GError *error = nullptr;
        secret_item_delete_sync(item, nullptr, &error);
        const ErrorPointer owner(error);
    });
}
