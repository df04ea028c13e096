#include "Fuzz.h"

#include "Platform/Folders.h"
#include "Services/HermesService.h"
#include "Services/OpenClawService.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace {

/// A home folder whose agents' files all hold the same bytes.
class Home
{
public:
    Home()
    {
        for (const QString &path : files())
            QDir().mkpath(QFileInfo(path).path());
    }

    QStringList files() const
    {
        return {m_folder.filePath(QStringLiteral(".openclaw/exec-approvals.json")),
                m_folder.filePath(QStringLiteral(".openclaw/openclaw-weixin/accounts.json")), configuration()};
    }
    QString configuration() const { return m_folder.filePath(QStringLiteral(".hermes/config.yaml")); }
    QString path() const { return m_folder.path(); }

    void fill(QByteArrayView bytes) const
    {
        for (const QString &path : files()) {
            QFile file(path);
            Fuzz::expect(file.open(QIODevice::WriteOnly) && file.write(bytes.data(), bytes.size()) == bytes.size(),
                         "the file can be written");
        }
    }

private:
    const QTemporaryDir m_folder;
};

QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

/// The files in which OpenClaw and Hermes keep what they are connected to.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const Home home;
    static const Folders folders = Folders::under(home.path());
    const QByteArrayView bytes = Fuzz::bytesOf(data, size);
    home.fill(bytes);

    const OpenClawService openClaw(folders);
    if (openClaw.isApprovalsDisabled())
        Fuzz::expect(bytes.contains("full") || bytes.contains('\\'), "approvals are off only where the file says so");
    openClaw.isWeChatConnected();

    const HermesService hermes(folders);
    const bool isText = Fuzz::isUTF8({bytes.data(), size});
    Fuzz::expect(hermes.isTelegramConnected() == (isText && bytes.contains("telegram")),
                 "a connection is what the file says");
    Fuzz::expect(hermes.disableApprovals().has_value(), "the file can be replaced");
    const QByteArray after = read(home.configuration());
    if (!isText)
        Fuzz::expect(after == bytes, "what is not UTF-8 is left alone");
    else if (!bytes.contains("approvals:"))
        Fuzz::expect(hermes.isApprovalsDisabled() && after.startsWith(bytes), "the block is added behind the rest");
    Fuzz::expect(!isText || Fuzz::isUTF8({after.constData(), std::size_t(after.size())}), "text stays text");
    return 0;
}
