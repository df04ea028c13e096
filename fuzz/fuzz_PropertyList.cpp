#include "Fuzz.h"

#include "Platform/PropertyList.h"
#include "Services/DiskImageTool.h"

/// A bundle's Info.plist and the answer of the disk-image tool.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArrayView bytes = Fuzz::bytesOf(data, size);
    const auto root = PropertyList::parse(bytes);
    for (const char *key : {"CFBundleExecutable", "CFBundleShortVersionString", "CFBundleVersion"})
        if (const auto text = PropertyList::text(root.get(), key))
            Fuzz::expect(Fuzz::isText(*text), "a property is text");
    if (const auto mountPoint = readMountPoint(bytes)) {
        Fuzz::expect(!mountPoint->path.isEmpty(), "a mount point has a path");
        Fuzz::expect(root != nullptr, "only a property list has a mount point");
    }
    return 0;
}
