#include "DiskImage.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <plist/plist.h>

namespace {

constexpr int usageError = 64;

using Arguments = std::vector<std::string>;

int fail(const std::string &reason)
{
    std::fprintf(stderr, "hdiutil: %s\n", reason.c_str());
    return EXIT_FAILURE;
}

/// {"system-entities": [{"mount-point": …}]}, as XML.
std::string describe(const std::filesystem::path &mountPoint)
{
    const plist_t entity = plist_new_dict();
    plist_dict_set_item(entity, "mount-point", plist_new_string(mountPoint.c_str()));
    const plist_t entities = plist_new_array();
    plist_array_append_item(entities, entity);
    const std::unique_ptr<void, void (*)(plist_t)> root(plist_new_dict(), plist_free);
    plist_dict_set_item(root.get(), "system-entities", entities);
    char *text = nullptr;
    std::uint32_t size = 0;
    plist_to_xml(root.get(), &text, &size);
    const std::unique_ptr<char, void (*)(void *)> owner(text, std::free);
    return {text, size};
}

int attach(const std::string &image)
{
    const Caller caller;
    const auto mountPoint = DiskImage::attach(image, caller);
    if (!mountPoint)
        return fail(mountPoint.error());
    const std::string answer = describe(*mountPoint);
    if (std::fwrite(answer.data(), 1, answer.size(), stdout) == answer.size() && std::fflush(stdout) == 0)
        return EXIT_SUCCESS;
    // Nobody learns of the mount point, so nobody would detach it.
    const auto detached = DiskImage::detach(*mountPoint);
    return fail("无法写出结果" + (detached ? std::string() : "；" + detached.error()));
}

int detach(const std::string &mountPoint)
{
    const auto done = DiskImage::detach(mountPoint);
    return done ? EXIT_SUCCESS : fail(done.error());
}

} // namespace

int main(int count, char **texts)
{
    ::setenv("LC_ALL", "C.UTF-8", 1); // names come as UTF-8 from 7z, in words of one language
    const Arguments arguments(texts + 1, texts + count);
    const Arguments options(arguments.begin() + std::min<std::ptrdiff_t>(2, std::ssize(arguments)), arguments.end());
    if (arguments.size() > 1 && arguments[0] == "attach" && options == Arguments{"-nobrowse", "-noverify", "-plist"})
        return attach(arguments[1]);
    if (arguments.size() > 1 && arguments[0] == "detach"
        && (options == Arguments{"-quiet"} || options == Arguments{"-quiet", "-force"}))
        return detach(arguments[1]);
    std::fputs("用法：hdiutil attach FILE -nobrowse -noverify -plist\n"
               "      hdiutil detach DIR -quiet [-force]\n",
               stderr);
    return usageError;
}
