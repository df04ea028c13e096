#include "WeixinPlugin.h"

#include "Form.h"
#include "Page.h"
#include "ServerState.h"

#include <QFile>
#include <QUuid>
#include <archive.h>
#include <archive_entry.h>
#include <array>
#include <memory>
#include <qrencode.h>

namespace devserver {

namespace {

constexpr auto accountId = "wx-local-10001";
constexpr int quietZone = 4; // modules, as the standard asks
constexpr mode_t fileMode = 0644;

const QString scanTitle = QStringLiteral("微信登录");
const QString unknownLogin = QStringLiteral("没有这次微信登录，请重新获取二维码");

QByteArray originOf(const Request &request)
{
    return "http://" + request.header("Host");
}

QString idIn(const Request &request)
{
    return readFields(request.query.toUtf8()).value(QStringLiteral("id"));
}

QByteArray embedded(const QString &name)
{
    QFile file(QStringLiteral(":/devserver/weixin/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no embedded file %s", qPrintable(name));
    return file.readAll();
}

la_ssize_t append(archive *, void *bytes, const void *data, size_t size)
{
    static_cast<QByteArray *>(bytes)->append(static_cast<const char *>(data), static_cast<qsizetype>(size));
    return static_cast<la_ssize_t>(size);
}

void require(int result, archive *zip)
{
    if (result != ARCHIVE_OK)
        qFatal("cannot write the archive: %s", archive_error_string(zip));
}

void add(archive *zip, const QByteArray &path, const QByteArray &content)
{
    const std::unique_ptr<archive_entry, decltype(&archive_entry_free)> entry(archive_entry_new(), archive_entry_free);
    archive_entry_set_pathname(entry.get(), path.constData());
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), fileMode);
    archive_entry_set_size(entry.get(), content.size());
    require(archive_write_header(zip, entry.get()), zip);
    if (archive_write_data(zip, content.constData(), static_cast<size_t>(content.size())) != content.size())
        require(ARCHIVE_FATAL, zip);
}

QByteArray pluginArchive(const QByteArray &origin)
{
    QByteArray bytes;
    const std::unique_ptr<archive, decltype(&archive_write_free)> zip(archive_write_new(), archive_write_free);
    require(archive_write_set_format_zip(zip.get()), zip.get());
    require(archive_write_set_bytes_in_last_block(zip.get(), 1), zip.get()); // no padding
    require(archive_write_open(zip.get(), &bytes, nullptr, append, nullptr), zip.get());
    for (const char *name : {"package.json", "openclaw.plugin.json", "index.js"})
        add(zip.get(), QByteArrayLiteral("openclaw-weixin/") + name, embedded(QLatin1String(name)));
    add(zip.get(), "openclaw-weixin/server.json", encode({{"origin", origin.toStdString()}}));
    require(archive_write_close(zip.get()), zip.get());
    return bytes;
}

/// Two rows of modules as one line of text.
std::string line(const QRcode &code, int upper)
{
    constexpr std::array glyphs{" ", "▄", "▀", "█"}; // by light above, light below
    const auto isLight = [&](int x, int y) {
        const bool inside = x >= 0 && y >= 0 && x < code.width && y < code.width;
        return !inside || (code.data[y * code.width + x] & 1) == 0;
    };
    std::string text;
    for (int x = -quietZone; x < code.width + quietZone; ++x)
        text += glyphs.at((isLight(x, upper) ? 2U : 0U) + (isLight(x, upper + 1) ? 1U : 0U));
    return text;
}

JSON rowsOf(const QByteArray &text)
{
    const std::unique_ptr<QRcode, decltype(&QRcode_free)> code(
        QRcode_encodeString8bit(text.constData(), 0, QR_ECLEVEL_M), QRcode_free);
    if (!code)
        qFatal("no QR code for %s", text.constData());
    JSON rows = JSON::array();
    for (int y = -quietZone; y < code->width + quietZone; y += 2)
        rows.push_back(line(*code, y));
    return rows;
}

} // namespace

QString WeixinLogins::begin()
{
    const QString id = QUuid::createUuid().toString(QUuid::Id128).first(8);
    m_logins.insert(id, {.beginning = Clock::now()});
    return id;
}

bool WeixinLogins::scan(const QString &id)
{
    const auto login = m_logins.find(id);
    if (login == m_logins.end())
        return false;
    login->scanned = true;
    return true;
}

std::optional<bool> WeixinLogins::isScanned(const QString &id) const
{
    const auto login = m_logins.constFind(id);
    if (login == m_logins.cend())
        return {};
    return login->scanned || Clock::now() - login->beginning >= scannedAfter;
}

Response answerWeixinDownload(ServerState &, const Request &request)
{
    return {.body = pluginArchive(originOf(request)),
            .contentType = "application/zip",
            .headers = {{"Content-Disposition", "attachment; filename=\"openclaw-weixin.zip\""}}};
}

Response answerWeixinLogin(ServerState &state, const Request &request)
{
    const QString id = state.weixinLogins.begin();
    const QByteArray address = originOf(request) + "/weixin/scan?id=" + id.toUtf8();
    return success({{"id", id.toStdString()}, {"address", address.toStdString()}, {"rows", rowsOf(address)}});
}

Response answerWeixinState(ServerState &state, const Request &request)
{
    const auto isScanned = state.weixinLogins.isScanned(idIn(request));
    if (!isScanned)
        return failure(404, unknownLogin);
    if (!*isScanned)
        return success({{"state", "waiting"}});
    return success({{"state", "scanned"}, {"accountId", accountId}});
}

Response answerWeixinScan(ServerState &state, const Request &request)
{
    if (!state.weixinLogins.scan(idIn(request)))
        return errorPage(404, scanTitle, unknownLogin);
    return page(200, scanTitle, filled(QStringLiteral("WeixinScanned.html"), {}));
}

} // namespace devserver
