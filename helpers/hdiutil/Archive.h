#pragma once

#include "Caller.h"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// What an operation failed of: a Chinese sentence.
using Failure = std::unexpected<std::string>;
template<typename T> using Result = std::expected<T, std::string>;

/// A disk image as 7z reads it, which is given up when the caller goes. Names in it are not to be trusted.
class Archive
{
public:
    struct Entry {
        std::string path; ///< UTF-8, as it stands in the image
        std::uint64_t size = 0;
        std::string linkTarget; ///< empty where the format does not tell before unpacking
    };

    struct Listing {
        std::vector<std::string> formats; ///< 7z's names, the outermost first
        std::vector<Entry> entries;
    };

    /// Reads what `7z l -slt` prints. Lines that say nothing of the above are passed over.
    static Listing readListing(std::string_view text);

    /// Opens the file once, so that what is listed is what is unpacked.
    static Result<Archive> open(const std::filesystem::path &file);
    Archive(Archive &&other) noexcept;
    Archive &operator=(Archive &&) = delete;
    ~Archive();

    Result<Listing> list(const Caller &caller) const;
    /// Into a folder that exists. Anything that 7z has to complain of is a failure; the folder may hold a part then.
    Result<void> unpack(const std::filesystem::path &folder, const Caller &caller) const;

private:
    explicit Archive(int file);
    std::string address() const;

    int m_file;
};
