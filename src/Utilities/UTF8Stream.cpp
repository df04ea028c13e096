#include "UTF8Stream.h"

#include <cstring>
#include <simdjson.h>

namespace {

std::size_t sequenceLength(unsigned char leadByte)
{
    if (leadByte >= 0xF0)
        return 4;
    if (leadByte >= 0xE0)
        return 3;
    return leadByte >= 0xC0 ? 2 : 1;
}

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

} // namespace

std::size_t wholeCharactersLength(std::string_view bytes)
{
    std::size_t tail = 1;
    while (tail < 4 && tail < bytes.size() && isContinuation(bytes[bytes.size() - tail]))
        ++tail;
    if (bytes.empty() || sequenceLength(static_cast<unsigned char>(bytes[bytes.size() - tail])) <= tail)
        return bytes.size();
    return bytes.size() - tail;
}

std::size_t keepValidCharacters(std::span<char> bytes)
{
    std::size_t kept = 0;
    for (std::size_t next = 0; next < bytes.size();) {
        const std::size_t length = sequenceLength(static_cast<unsigned char>(bytes[next]));
        if (next + length > bytes.size() || !simdjson::validate_utf8(&bytes[next], length)) {
            ++next;
            continue;
        }
        std::memmove(&bytes[kept], &bytes[next], length);
        kept += length;
        next += length;
    }
    return kept;
}

void UTF8Stream::feed(std::span<const char> bytes)
{
    std::string_view piece(bytes.data(), bytes.size());
    std::string joined;
    if (!m_pending.empty() && !deliverSplitCharacter(piece)) {
        joined = std::exchange(m_pending, {}).append(piece);
        piece = joined;
    }
    const std::size_t whole = wholeCharactersLength(piece);
    m_pending = piece.substr(whole);
    if (whole > 0)
        deliver(piece.substr(0, whole));
}

bool UTF8Stream::deliverSplitCharacter(std::string_view &piece)
{
    const std::size_t rest = sequenceLength(static_cast<unsigned char>(m_pending.front())) - m_pending.size();
    const std::string character = m_pending + std::string(piece.substr(0, rest));
    if (!simdjson::validate_utf8(character))
        return false;
    m_pending.clear();
    piece.remove_prefix(rest);
    m_consumer(QUtf8StringView(character.data(), qsizetype(character.size())));
    return true;
}

void UTF8Stream::deliver(std::string_view piece)
{
    if (simdjson::validate_utf8(piece.data(), piece.size()))
        m_consumer(QUtf8StringView(piece.data(), qsizetype(piece.size())));
    else
        deliverValidCharacters(piece);
}

void UTF8Stream::deliverValidCharacters(std::string_view piece)
{
    std::string valid(piece);
    valid.resize(keepValidCharacters(valid));
    if (!valid.empty())
        m_consumer(QUtf8StringView(valid.data(), qsizetype(valid.size())));
}
