#include "Bundle.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <memory>
#include <plist/plist.h>

const Bundle &Bundle::main()
{
    static const Bundle bundle(QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/..")));
    return bundle;
}

Bundle::Bundle(QString contentsFolder)
    : m_contentsFolder(std::move(contentsFolder))
{
}

QString Bundle::path() const
{
    return QFileInfo(m_contentsFolder).absolutePath();
}

std::optional<QString> Bundle::executable() const
{
    const QString name = property("CFBundleExecutable").value_or(QString());
    const QFileInfo program(m_contentsFolder + QStringLiteral("/MacOS/") + name);
    const bool isName = !name.isEmpty() && !name.contains(u'/');
    return isName && program.isFile() && program.isExecutable() ? std::optional(program.absoluteFilePath())
                                                                : std::nullopt;
}

std::optional<QString> Bundle::shortVersion() const
{
    return property("CFBundleShortVersionString");
}

std::optional<QString> Bundle::buildNumber() const
{
    return property("CFBundleVersion");
}

std::optional<QString> Bundle::resource(const QString &name) const
{
    const QString path = m_contentsFolder + QStringLiteral("/Resources/") + name;
    return QFileInfo::exists(path) ? std::optional(path) : std::nullopt;
}

std::optional<QString> Bundle::property(const char *key) const
{
    QFile file(m_contentsFolder + QStringLiteral("/Info.plist"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = file.readAll();
    plist_t root = nullptr;
    plist_from_memory(bytes.constData(), uint32_t(bytes.size()), &root);
    const std::unique_ptr<void, void (*)(plist_t)> owner(root, plist_free);
    const plist_t node = plist_access_path(root, 1, key);
    if (!node || plist_get_node_type(node) != PLIST_STRING)
        return {};
    return QString::fromUtf8(plist_get_string_ptr(node, nullptr));
}
