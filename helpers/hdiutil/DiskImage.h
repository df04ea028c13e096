#pragma once

#include "Archive.h"

/// Disk images without a mount: the content is unpacked into a folder that nobody else can enter.
namespace DiskImage {

/// What an image may come to, all its files together.
constexpr std::uint64_t mostBytes = std::uint64_t(2) << 30;

/// Whether it lists a disk image that may be unpacked: not too large, no name and no link that leads out of it.
Result<void> checkListing(const Archive::Listing &listing);

/// Gives the folder with the volume's content. Nothing is left behind by a failure: an image that is damaged, too
/// large, or that has a name or a link leading out of the volume; or a caller that goes meanwhile.
Result<std::filesystem::path> attach(const std::filesystem::path &image, const Caller &caller);

/// Removes what attach() made; `mountPoint` is what it gave. Any other folder is refused and stays.
Result<void> detach(const std::filesystem::path &mountPoint);

} // namespace DiskImage
