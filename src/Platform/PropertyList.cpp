#include "PropertyList.h"

namespace {

bool isOfType(plist_t node, plist_type type)
{
    return node && plist_get_node_type(node) == type;
}

} // namespace

PropertyList::Owner PropertyList::parse(QByteArrayView bytes)
{
    plist_t root = nullptr;
    plist_from_memory(bytes.data(), uint32_t(bytes.size()), &root);
    return {root, plist_free};
}

plist_t PropertyList::item(plist_t node, const char *key)
{
    return isOfType(node, PLIST_DICT) ? plist_dict_get_item(node, key) : nullptr;
}

std::optional<QString> PropertyList::text(plist_t node, const char *key)
{
    const plist_t found = item(node, key);
    if (!isOfType(found, PLIST_STRING))
        return {};
    return QString::fromUtf8(plist_get_string_ptr(found, nullptr));
}

quint32 PropertyList::count(plist_t node)
{
    return isOfType(node, PLIST_ARRAY) ? plist_array_get_size(node) : 0;
}
