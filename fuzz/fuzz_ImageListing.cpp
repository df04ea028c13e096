#include "Fuzz.h"

#include "DiskImage.h"

#include <vector>

namespace {

/// Whether following the names of `path`, begun in `folder` below the volume, never leaves it.
bool staysInside(std::string_view path, std::vector<std::string> folder)
{
    while (!path.empty()) {
        const std::string_view name = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(name.size() + 1, path.size()));
        if (name.empty() || name == ".")
            continue;
        if (name != "..")
            folder.emplace_back(name);
        else if (folder.empty())
            return false;
        else
            folder.pop_back();
    }
    return true;
}

std::vector<std::string> folderOf(std::string_view path)
{
    std::vector<std::string> names;
    while (!path.empty()) {
        const std::string_view name = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(name.size() + 1, path.size()));
        if (!name.empty() && name != ".")
            names.emplace_back(name);
    }
    if (!names.empty())
        names.pop_back();
    return names;
}

} // namespace

/// A listing that is accepted lets nothing out of the volume, and is not larger than it may be.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto listing = Archive::readListing({reinterpret_cast<const char *>(data), size});
    std::size_t kept = 0;
    for (const Archive::Entry &entry : listing.entries)
        kept += entry.path.size() + entry.linkTarget.size();
    Fuzz::expect(kept <= size, "a listing does not grow");
    if (!DiskImage::checkListing(listing))
        return 0;
    std::uint64_t room = DiskImage::mostBytes;
    for (const Archive::Entry &entry : listing.entries) {
        Fuzz::expect(!entry.path.starts_with('/') && staysInside(entry.path, {}), "a name stays in the volume");
        Fuzz::expect(!entry.linkTarget.starts_with('/') && staysInside(entry.linkTarget, folderOf(entry.path)),
                     "a link stays in the volume");
        Fuzz::expect(entry.size <= room, "a volume is not too large");
        room -= entry.size;
    }
    return 0;
}
