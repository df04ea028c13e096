#include "UserDefaults.h"

#include "Folders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <cstdio>

namespace {

// JSON has no binary values: data stands as an object with this one key.
const QString base64Key = QStringLiteral("base64");

std::optional<QJsonObject> readObject(const QString &filePath)
{
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        return QJsonObject();
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

} // namespace

UserDefaults &UserDefaults::shared()
{
    static UserDefaults defaults(Folders::user().configuration + QStringLiteral("/com.vaelix.app.json"));
    return defaults;
}

UserDefaults::UserDefaults(QString filePath)
    : m_filePath(std::move(filePath))
{
}

std::optional<QByteArray> UserDefaults::data(const QString &key) const
{
    const QJsonValue value = readObject(m_filePath).value_or(QJsonObject())[key][base64Key];
    if (!value.isString())
        return {};
    return QByteArray::fromBase64(value.toString().toLatin1());
}

std::optional<QString> UserDefaults::text(const QString &key) const
{
    const QJsonValue value = readObject(m_filePath).value_or(QJsonObject())[key];
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

bool UserDefaults::isTrue(const QString &key) const
{
    return readObject(m_filePath).value_or(QJsonObject())[key].toBool();
}

void UserDefaults::setData(const QString &key, const QByteArray &value)
{
    setValue(key, QJsonObject{{base64Key, QString::fromLatin1(value.toBase64())}});
}

void UserDefaults::setText(const QString &key, const QString &value)
{
    setValue(key, value);
}

void UserDefaults::setTrue(const QString &key, bool value)
{
    setValue(key, value);
}

void UserDefaults::setValue(const QString &key, const QJsonValue &value)
{
    auto object = readObject(m_filePath);
    if (!object) {
        const QString aside = m_filePath + QStringLiteral(".damaged");
        QFile::remove(aside);
        QFile::copy(m_filePath, aside);
        object.emplace();
    }
    if (object->value(key) == value)
        return;
    object->insert(key, value);

    QDir().mkpath(QFileInfo(m_filePath).path());
    QSaveFile file(m_filePath);
    const QByteArray json = QJsonDocument(*object).toJson();
    if (!file.open(QIODevice::WriteOnly) || file.write(json) != json.size() || !file.commit())
        std::fprintf(stderr, "无法保存设置 %s：%s\n", qUtf8Printable(m_filePath), qUtf8Printable(file.errorString()));
}
