#include "Fuzz.h"

#include "Models/SoftwareCatalog.h"

/// A catalog that decodes is one that encodes to the same entries.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto entries = SoftwareCatalog::decode(Fuzz::bytesOf(data, size));
    if (!entries) {
        Fuzz::expect(Fuzz::isText(entries.error().description), "an error is text");
        return 0;
    }
    const auto again = SoftwareCatalog::decode(SoftwareCatalog::encode(*entries));
    Fuzz::expect(again.has_value(), "what was encoded decodes");
    Fuzz::expect(*again == *entries, "encoding and decoding change nothing");
    for (const SoftwareCatalogEntry &entry : *entries)
        Fuzz::expect(SoftwareCatalog::find(*entries, entry.id) != nullptr, "every entry is found by its id");
    return 0;
}
