#include "CollectedText.h"

#include "Utilities/UTF8Stream.h"

#include <algorithm>
#include <simdjson.h>
#include <sys/mman.h>

namespace {

constexpr qsizetype roomSize = 512 * 1024;
constexpr qsizetype firstCapacity = 2 * roomSize;
constexpr qsizetype populatedAtOnce = 2 * 1024 * 1024;

} // namespace

void CollectedText::Unmap::operator()(char *mapping) const
{
    ::munmap(mapping, size_t(capacity));
}

QByteArrayView CollectedText::utf8() const
{
    // What is not validated at the end is a character cut off.
    return QByteArrayView(m_mapping.get(), m_validated).trimmed();
}

std::span<char> CollectedText::room()
{
    if (m_mapping.get_deleter().capacity - m_size < roomSize)
        grow();
    if (m_populated - m_size < roomSize)
        populate();
    return {m_mapping.get() + m_size, size_t(roomSize)};
}

void CollectedText::received(qsizetype count)
{
    m_size += count;
    // Validated now, while the processor's cache still holds it.
    const std::span piece(m_mapping.get() + m_validated, size_t(m_size - m_validated));
    const std::size_t whole = wholeCharactersLength({piece.data(), piece.size()});
    if (simdjson::validate_utf8(piece.data(), whole)) {
        m_validated += qsizetype(whole);
        return;
    }
    const std::size_t kept = keepValidCharacters(piece.first(whole));
    const auto rest = piece.subspan(whole);
    std::ranges::copy(rest, piece.begin() + qsizetype(kept));
    m_validated += qsizetype(kept);
    m_size = m_validated + qsizetype(rest.size());
}

void CollectedText::populate()
{
    // A page that read() itself has to get keeps the writer off the pipe meanwhile.
    const qsizetype length = std::min(populatedAtOnce, m_mapping.get_deleter().capacity - m_populated);
    ::madvise(m_mapping.get() + m_populated, size_t(length), MADV_POPULATE_WRITE);
    m_populated += length;
}

void CollectedText::grow()
{
    const qsizetype before = m_mapping.get_deleter().capacity;
    const qsizetype capacity = std::max(2 * before, firstCapacity);
    void *mapping = m_mapping
        ? ::mremap(m_mapping.get(), size_t(before), size_t(capacity), MREMAP_MAYMOVE)
        : ::mmap(nullptr, size_t(capacity), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapping == MAP_FAILED)
        qBadAlloc();
    // A short output takes small pages, one by one; a long one 2 MiB at a time.
    if (!m_mapping)
        m_populated = firstCapacity;
    else
        ::madvise(mapping, size_t(capacity), MADV_HUGEPAGE);
    static_cast<void>(m_mapping.release());
    m_mapping = {static_cast<char *>(mapping), Unmap{capacity}};
}
