#include "Bundle.h"

#include "PropertyList.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

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
    return PropertyList::text(PropertyList::parse(file.readAll()).get(), key);
}
