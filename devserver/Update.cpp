#include "Update.h"

#include "BodyReader.h"
#include "Form.h"
#include "Range.h"
#include "Session.h"

#include <QFile>
#include <QMessageAuthenticationCode>
#include <limits>

namespace devserver {

namespace {

// What the application's own builds sign with.
constexpr auto productKey = "3de26c6ff0b451325df73a1545174b36";
constexpr auto signingSecret = "d9b65650b5912129c535d15fe11ce815931197bea0664a07359f82dbeb9cf63b";

constexpr qint64 toleratedSeconds = 5 * 60;
constexpr qint64 piecesPerSecond = 20;
constexpr qint64 mostBytes = std::numeric_limits<qint32>::max();

/// Says what is wrong with the signature; empty when it is right.
QString signatureError(const Request &request, const QDateTime &now)
{
    const QByteArray timestamp = request.header("X-Timestamp");
    bool isNumber = false;
    const qint64 seconds = timestamp.toLongLong(&isNumber);
    const QByteArray signature =
        QMessageAuthenticationCode::hash(productKey + timestamp, signingSecret, QCryptographicHash::Sha256).toHex();
    if (request.header("X-Product-Key") != productKey)
        return QStringLiteral("产品标识不正确");
    if (!isNumber || signature != request.header("X-Signature"))
        return QStringLiteral("签名不正确");
    const qint64 current = now.toSecsSinceEpoch();
    if (seconds < current - toleratedSeconds || seconds > current + toleratedSeconds)
        return QStringLiteral("请求时间相差太多");
    return {};
}

JSON describe(const UpdateOffer &offer)
{
    JSON json{{"has_update", true},
              {"message", "发现新版本"},
              {"latest_version", offer.version.toStdString()},
              {"build_number", offer.build},
              {"release_notes", offer.notes.toStdString()},
              {"is_mandatory", offer.isMandatory}};
    if (!offer.file.isEmpty()) {
        json["download_url"] = offer.url.toStdString();
        json["file_size"] = offer.fileSize;
        json["file_hash"] = offer.fileHash.toStdString();
    }
    return json;
}

void readDelivery(BodyReader &order, Delivery &delivery)
{
    delivery.announcesLength = order.flag("announceLength").value_or(delivery.announcesLength);
    if (const auto rate = order.integer("bytesPerSecond", 0, mostBytes)) {
        delivery.pieceSize = *rate > 0 ? std::max<qint64>(*rate / piecesPerSecond, 1) : 0;
        delivery.pause = std::chrono::milliseconds(*rate > 0 ? 1000 * delivery.pieceSize / *rate : 0);
    }
    if (const auto cutAfter = order.integer("cutAfter", 0, mostBytes))
        delivery.cutAfter = *cutAfter > 0 ? cutAfter : std::nullopt;
}

void readOffer(BodyReader &order, UpdateOffer &offer)
{
    offer.version = order.text("version").value_or(offer.version);
    offer.build = order.integer("build", 1, std::numeric_limits<qint64>::max()).value_or(offer.build);
    offer.notes = order.text("notes").value_or(offer.notes);
    offer.isMandatory = order.flag("mandatory").value_or(offer.isMandatory);
    offer.fileHash = order.text("hash").value_or(offer.fileHash);
    offer.url = order.text("url").value_or(offer.url);
    readDelivery(order, offer.delivery);
}

} // namespace

Response answerUpdateCheck(ServerState &state, const Request &request)
{
    if (const QString error = signatureError(request, state.now()); !error.isEmpty())
        return unauthorized(error);
    const Fields query = readFields(request.query.toUtf8());
    bool isNumber = false;
    const qint64 build = query.value(QStringLiteral("build_number")).toLongLong(&isNumber);
    if (!isNumber)
        return failure(400, QStringLiteral("build_number 缺失或不是整数"));
    if (!state.update || state.update->build <= build)
        return success({{"has_update", false}, {"message", "已是最新版本"}});
    return success(describe(*state.update));
}

Response answerUpdateImage(ServerState &state, const Request &request)
{
    QFile image(state.update ? state.update->file : QString());
    if (image.fileName().isEmpty() || !image.open(QIODevice::ReadOnly))
        return failure(404, QStringLiteral("没有更新镜像"));
    const UpdateOffer &offer = *state.update;
    return rangeOf(
        {.body = image.readAll(), .contentType = "application/x-apple-diskimage", .delivery = offer.delivery},
        '"' + offer.fileHash.left(16).toLatin1() + '"', request);
}

Response controlUpdate(ServerState &state, const Request &request)
{
    BodyReader order(request.body);
    UpdateOffer offer = state.update.value_or(UpdateOffer());
    const auto file = order.text("file");
    const auto taken = file ? offer.setFile(*file) : std::expected<void, QString>();
    readOffer(order, offer); // after the file, whose hash it may replace
    if (const QString error = order.error(); !error.isEmpty())
        return failure(400, error);
    if (!taken)
        return failure(404, taken.error());
    state.update = offer;
    return success(nullptr);
}

Response withdrawUpdate(ServerState &state, const Request &)
{
    state.update.reset();
    return success(nullptr);
}

} // namespace devserver
