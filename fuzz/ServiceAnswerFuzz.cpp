// The services of identification and the players answer with any bytes.
#include "identify/online/AcoustID.h"
#include "identify/online/CoverPicture.h"
#include "identify/online/MusicBrainz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const auto body = QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const AcoustIDAnswer answer = acoustIDAnswer(body, /*seconds=*/200);
    // It goes into an address.
    if (answer.outcome == AcoustIDAnswer::Outcome::Found && answer.recording.identifier.size() != 36)
        std::abort();
    if (const auto found = recognitionOf(body, /*seconds=*/200);
        found && !found->year.isNull() && found->year.size() != 4)
        std::abort();
    releasesFound(body, "Artist", "Album");
    keepablePicture(body);
    return 0;
}
