#include "LoginCallback.h"

#include <QByteArray>
#include <algorithm>
#include <map>

namespace {

using Items = std::map<QString, QString>;

/// The text that percent-encoding stands for; none when it is not UTF-8.
std::optional<QString> decodedText(QStringView encoded)
{
    const QString text = QString::fromUtf8(QByteArray::fromPercentEncoding(encoded.toUtf8()));
    return text.contains(QChar::ReplacementCharacter) ? std::nullopt : std::optional(text);
}

/// The query's items that have a value, each name's first one only.
Items firstItems(const QUrl &url)
{
    if (!url.isValid())
        return {};
    std::map<QString, std::optional<QString>> items;
    const QString query = url.query(QUrl::FullyEncoded);
    for (const QStringView item : QStringView(query).split(u'&')) {
        const qsizetype equals = item.indexOf(u'=');
        const auto name = decodedText(equals < 0 ? item : item.first(equals));
        if (name)
            items.try_emplace(*name, equals < 0 ? std::nullopt : decodedText(item.sliced(equals + 1)));
    }
    Items present;
    for (const auto &[name, value] : items)
        if (value)
            present.emplace(name, *value);
    return present;
}

std::optional<QString> value(const Items &items, QLatin1String name)
{
    const auto item = items.find(name);
    return item == items.end() ? std::nullopt : std::optional(item->second);
}

/// What neither a command line nor a header line gives a meaning.
bool isCredential(const QString &text)
{
    return std::ranges::all_of(text, [](QChar character) {
        return character > u' ' && character <= u'~' && !QStringView(u"\"'\\$`").contains(character);
    });
}

bool controlsText(QChar character)
{
    const char16_t code = character.unicode();
    const bool isDirectional = code == 0x061c || code == 0x200e || code == 0x200f || (code >= 0x202a && code <= 0x202e)
        || (code >= 0x2066 && code <= 0x2069);
    return isDirectional || character.category() == QChar::Other_Control
        || character.category() == QChar::Separator_Line || character.category() == QChar::Separator_Paragraph;
}

} // namespace

std::expected<LoginCallback, LoginCallback::Fault> LoginCallback::read(const QUrl &url)
{
    const Items items = firstItems(url);
    const auto token = value(items, QLatin1String("token"));
    const auto userId = value(items, QLatin1String("user_id"));
    if (!token || !userId)
        return std::unexpected(Fault::Incomplete);
    LoginCallback callback{.token = *token,
                           .userId = *userId,
                           .apiKey = value(items, QLatin1String("api_key")),
                           .displayName = value(items, QLatin1String("display_name")),
                           .state = value(items, QLatin1String("state")).value_or(QString())};
    if (!isCredential(*token) || !isCredential(*userId) || !isCredential(callback.apiKey.value_or(QString()))
        || std::ranges::any_of(callback.displayName.value_or(QString()), controlsText))
        return std::unexpected(Fault::Unacceptable);
    return callback;
}
