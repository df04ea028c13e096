#include "DiskImage.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// An attached image: a folder of ours, holding the volume and, beside it, what shows that attaching it succeeded.
constexpr auto folderPrefix = "vaelix-image-";
constexpr auto volumeName = "volume";
constexpr auto markName = "attached";

Failure systemFailure(const std::string &what, int error)
{
    return Failure(what + "：" + std::strerror(error));
}

bool isImageFormat(const std::string &format)
{
    constexpr std::array formats{"APFS", "Dmg", "HFS", "Iso", "Udf"};
    return std::ranges::find(formats, format) != formats.end();
}

/// Whether a path that begins in the volume's folder ends outside, or passes through there.
bool leadsOut(const fs::path &path)
{
    const fs::path normal = path.lexically_normal();
    return path.is_absolute() || (!normal.empty() && *normal.begin() == "..");
}

bool isSafeName(const fs::path &path)
{
    return path.has_filename() && path.is_relative() && std::ranges::find(path, fs::path("..")) == path.end();
}

Result<void> checkEntry(const Archive::Entry &entry)
{
    const fs::path path = entry.path;
    if (!isSafeName(path))
        return Failure("磁盘映像含有指向外部的名称：" + entry.path);
    if (leadsOut(path.parent_path() / entry.linkTarget))
        return Failure("磁盘映像含有指向外部的链接：" + entry.path);
    return {};
}

/// `volume` is canonical. The listing does not tell every link's target, and 7z changes some.
Result<void> checkUnpacked(const fs::directory_entry &entry, const fs::path &volume)
{
    std::error_code error;
    const fs::file_status status = entry.symlink_status(error);
    if (error)
        return systemFailure("无法检查磁盘映像的内容", error.value());
    if (fs::is_regular_file(status) || fs::is_directory(status))
        return {};
    if (!fs::is_symlink(status))
        return Failure("磁盘映像含有特殊文件：" + entry.path().string());
    const bool isRelative = fs::read_symlink(entry.path(), error).is_relative();
    const fs::path target = fs::weakly_canonical(entry.path(), error);
    const auto [end, rest] = std::ranges::mismatch(volume, target);
    if (error || !isRelative || end != volume.end())
        return Failure("磁盘映像含有指向外部的链接：" + entry.path().string());
    return {};
}

Result<void> checkTree(const fs::path &volume)
{
    std::error_code error;
    for (fs::recursive_directory_iterator entry(volume, error), end; !error && entry != end; entry.increment(error))
        if (const auto checked = checkUnpacked(*entry, volume); !checked)
            return checked;
    if (error)
        return systemFailure("无法检查磁盘映像的内容", error.value());
    return {};
}

/// The folder that stands for the volume among what was unpacked: 7z puts a Mac volume's content into a folder with
/// the volume's name.
fs::path volumeAmong(const fs::path &unpacked, const std::string &format)
{
    std::error_code error;
    fs::directory_iterator entry(unpacked, error);
    if (error || entry == fs::directory_iterator() || (format != "HFS" && format != "APFS"))
        return unpacked;
    const fs::directory_entry first = *entry;
    const bool isOnly = entry.increment(error) == fs::directory_iterator() && !error;
    return isOnly && fs::is_directory(first.symlink_status(error)) ? first.path() : unpacked;
}

/// Bounds each file that 7z writes, should the listing have lied.
Result<void> limitFileSize()
{
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min<rlim_t>(DiskImage::mostBytes, limit.rlim_max);
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0)
        return systemFailure("无法限制解开的大小", errno);
    return {};
}

/// Also where the image took its owner the right to write.
Result<void> removeTree(const fs::path &folder)
{
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (fs::is_directory(entry->symlink_status(error)))
            fs::permissions(entry->path(), fs::perms::owner_all, fs::perm_options::add, error);
    fs::remove_all(folder, error);
    if (error)
        return systemFailure("无法删除 " + folder.string(), error.value());
    return {};
}

Result<fs::path> unpackInto(const fs::path &folder, const Archive &archive, const std::string &format,
                            const Caller &caller)
{
    if (const auto limited = limitFileSize(); !limited)
        return Failure(limited.error());
    const fs::path unpacked = folder / "unpacked";
    fs::path volume = folder / volumeName;
    std::error_code error;
    fs::create_directory(unpacked, error);
    if (error)
        return systemFailure("无法创建 " + unpacked.string(), error.value());
    if (const auto done = archive.unpack(unpacked, caller); !done)
        return Failure(done.error());
    fs::rename(volumeAmong(unpacked, format), volume, error);
    if (error)
        return systemFailure("无法移动磁盘映像的内容", error.value());
    if (const auto checked = checkTree(volume); !checked)
        return Failure(checked.error());
    if (!std::ofstream(folder / markName))
        return systemFailure("无法写入 " + folder.string(), errno);
    return volume;
}

bool isPrivateFolder(const fs::path &folder)
{
    struct stat state{};
    return ::lstat(folder.c_str(), &state) == 0 && S_ISDIR(state.st_mode) && state.st_uid == ::geteuid()
        && (state.st_mode & 07777) == 0700;
}

bool isAttached(const fs::path &mountPoint)
{
    std::error_code error;
    const fs::path folder = mountPoint.parent_path();
    return mountPoint.filename() == volumeName && folder.filename().string().starts_with(folderPrefix)
        && folder.parent_path() == fs::canonical(fs::temp_directory_path(error), error) && isPrivateFolder(folder)
        && fs::is_regular_file(fs::symlink_status(folder / markName, error));
}

} // namespace

Result<void> DiskImage::checkListing(const Archive::Listing &listing)
{
    if (listing.formats.empty() || !std::ranges::all_of(listing.formats, isImageFormat))
        return Failure("不是磁盘映像");
    std::uint64_t room = mostBytes;
    for (const Archive::Entry &entry : listing.entries) {
        if (const auto checked = checkEntry(entry); !checked)
            return checked;
        if (entry.size > room)
            return Failure("磁盘映像的内容太大");
        room -= entry.size;
    }
    return {};
}

Result<fs::path> DiskImage::attach(const fs::path &image, const Caller &caller)
{
    const auto archive = Archive::open(image);
    if (!archive)
        return Failure(archive.error());
    const auto listing = archive->list(caller);
    if (!listing)
        return Failure(listing.error());
    if (const auto checked = checkListing(*listing); !checked)
        return Failure(checked.error());

    std::error_code error;
    std::string folder = (fs::canonical(fs::temp_directory_path(error), error) / folderPrefix).string() + "XXXXXX";
    if (error || !::mkdtemp(folder.data()))
        return systemFailure("无法创建临时文件夹", error ? error.value() : errno);
    auto volume = unpackInto(folder, *archive, listing->formats.back(), caller);
    if (!volume)
        if (const auto removed = removeTree(folder); !removed)
            return Failure(volume.error() + "；" + removed.error());
    return volume;
}

Result<void> DiskImage::detach(const fs::path &mountPoint)
{
    if (!isAttached(mountPoint))
        return Failure("不是已挂载的磁盘映像：" + mountPoint.string());
    return removeTree(mountPoint.parent_path());
}
