#pragma once

#include <QByteArrayView>
#include <QString>
#include <memory>
#include <optional>
#include <plist/plist.h>

/// Reading property lists, XML or binary, that come from elsewhere. A node that is missing or of another type
/// than asked for reads as none.
namespace PropertyList {

using Owner = std::unique_ptr<void, void (*)(plist_t)>;

/// The outermost node; null when the bytes are no property list.
Owner parse(QByteArrayView bytes);

// In the node of a dictionary; `node` may be null or of any type, and what is given lives as long as it.
plist_t item(plist_t node, const char *key);
std::optional<QString> text(plist_t node, const char *key);

/// The number of elements of an array; 0 of anything else.
quint32 count(plist_t node);

} // namespace PropertyList
