#include "Fuzz.h"

#include "Platform/UserDefaults.h"
#include "Services/SoftwareStore.h"

#include <QFile>
#include <QTemporaryDir>

namespace {

const QByteArray tableKey = "ai_software_status_v1";

/// A settings file that holds a table of states, whatever its bytes are.
QByteArray fileWithTable(QByteArrayView table)
{
    return "{\"" + tableKey + R"(": {"base64": ")" + table.toByteArray().toBase64() + "\"}}";
}

void write(const QString &path, QByteArrayView bytes)
{
    QFile file(path);
    Fuzz::expect(file.open(QIODevice::WriteOnly) && file.write(bytes.data(), bytes.size()) == bytes.size(),
                 "the file can be written");
}

void expectReadable(const StatusRecord &record)
{
    Fuzz::expect(Fuzz::isText(record.version), "a version is text");
    Fuzz::expect(!record.installedAt || record.installedAt->isValid(), "a date of installation is one");
    Fuzz::expect(!record.lastUsedAt || record.lastUsedAt->isValid(), "a date of use is one");
}

} // namespace

/// The settings file, or, when the first byte is odd, the table of states in it.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QTemporaryDir folder;
    static const QString path = folder.filePath(QStringLiteral("settings.json"));
    static UserDefaults defaults(path);
    static const SoftwareStore store(defaults);
    if (size == 0)
        return 0;
    const QByteArrayView bytes = Fuzz::bytesOf(data, size).sliced(1);
    write(path, data[0] % 2 == 1 ? fileWithTable(bytes) : bytes.toByteArray());

    const QString user = QStringLiteral("lastUserId");
    Fuzz::expect(!defaults.text(user) || !defaults.data(user), "a value has one type");
    Fuzz::expect(!defaults.isTrue(QStringLiteral("x")) || bytes.contains("true"), "only true is true");
    for (const StatusRecord &record : store.loadAll())
        expectReadable(record);
    return 0;
}
