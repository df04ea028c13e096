#include "Fuzz.h"

#include "Models/AppVersionInfo.h"

/// The update server's answer, up to what the prompt shows of it.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto answer = decodeJSON(Fuzz::bytesOf(data, size), decodeFeeResponse);
    if (!answer || !answer->data)
        return 0;
    const auto offer = answer->data->versionInfo();
    if (!offer)
        return 0;
    Fuzz::expect(answer->data->hasUpdate, "only an update is offered");
    Fuzz::expect(offer->buildNumberText().toLongLong() == offer->buildNumber, "the build number is shown as it is");
    Fuzz::expect(Fuzz::isText(offer->version) && Fuzz::isText(offer->releaseNotes), "what is shown is text");
    Fuzz::expect(Fuzz::isText(offer->downloadURL) && Fuzz::isText(offer->fileHash), "the image's fields are text");
    Fuzz::expect(!offer->fileSizeText().isEmpty(), "every size is shown");
    return 0;
}
