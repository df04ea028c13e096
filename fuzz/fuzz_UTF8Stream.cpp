#include "Fuzz.h"

#include "Platform/CollectedText.h"
#include "Utilities/UTF8Stream.h"

#include <algorithm>

namespace {

/// Cuts bytes into pieces as a pipe might; the seed decides where.
class Cutter
{
public:
    Cutter(std::string_view bytes, std::uint8_t seed)
        : m_rest(bytes)
        , m_state(seed)
    {
    }

    bool isAtEnd() const { return m_rest.empty(); }

    std::string_view next()
    {
        m_state = m_state * 1'103'515'245 + 12'345;
        const std::string_view piece = m_rest.substr(0, 1 + (m_state >> 16) % 7);
        m_rest.remove_prefix(piece.size());
        return piece;
    }

private:
    std::string_view m_rest;
    std::uint32_t m_state;
};

std::string streamed(std::string_view bytes, std::uint8_t seed)
{
    std::string text;
    UTF8Stream stream([&text](QUtf8StringView piece) {
        const std::string_view view(piece.data(), std::size_t(piece.size()));
        Fuzz::expect(Fuzz::isUTF8(view), "every piece is UTF-8");
        text.append(view);
    });
    for (Cutter cutter(bytes, seed); !cutter.isAtEnd();)
        stream.feed(cutter.next());
    return text;
}

/// Whether leaving out bytes of `whole` gives `part`.
bool isPartOf(std::string_view part, std::string_view whole)
{
    for (const char byte : whole)
        if (!part.empty() && part.front() == byte)
            part.remove_prefix(1);
    return part.empty();
}

QByteArray collected(std::string_view bytes, std::uint8_t seed)
{
    CollectedText text;
    for (Cutter cutter(bytes, seed); !cutter.isAtEnd();) {
        const std::string_view piece = cutter.next();
        std::ranges::copy(piece, text.room().begin());
        text.received(qsizetype(piece.size()));
    }
    return text.utf8().toByteArray();
}

} // namespace

/// A program's output, its first byte deciding how it is cut.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::string_view bytes(reinterpret_cast<const char *>(data) + 1, size - 1);
    const std::string text = streamed(bytes, data[0]);
    const QByteArray kept = collected(bytes, data[0]);
    Fuzz::expect(isPartOf(text, bytes), "nothing is added to the text");
    if (!Fuzz::isUTF8(bytes))
        return 0;
    Fuzz::expect(text == bytes, "a text comes out as it went in");
    Fuzz::expect(kept == QByteArray(bytes.data(), qsizetype(bytes.size())).trimmed(), "a text is collected whole");
    return 0;
}
