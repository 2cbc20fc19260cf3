#include "app/Recogniser.h"

#include "identify/local/LocalRecords.h"
#include "identify/online/ImageSearch.h"
#include "identify/online/OnlineSource.h"
#include "identify/queue/GetImageController.h"
#include "identify/queue/RecogniserChain.h"
#include "identify/recognition/RecognitionSettings.h"

namespace {

/// In the order in which they are asked: what costs nothing first, what asks the network last.
std::vector<std::shared_ptr<RecogniserSource>> recogniserSources(const std::shared_ptr<HttpClient> &client) {
    LocalRecords &records = LocalRecords::defaultRecords();
    return {records.playerSource(), records.librarySource(), std::make_shared<OnlineSource>(client)};
}

} // namespace

void setUpRecogniser() {
    RecognitionSettings::refresh();
    const auto client = std::make_shared<HttpClient>();
    const auto chain = std::make_shared<RecogniserChain>(recogniserSources(client));
    ID3TagControl::setDefaultManager(chain);
    GetImageController::setDefaultManager(
        std::make_shared<ImageSearch>(client, [chain](int32_t songID) { return chain->recognitionFor(songID); }));
}
