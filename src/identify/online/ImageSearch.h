// Looks for the covers of a track: the picture that the player showed, and what the Cover Art Archive has of the
// release.
//
// Threads: as GetImageController says.
#pragma once

#include "identify/online/CoverPicture.h"
#include "identify/online/HttpClient.h"
#include "identify/queue/GetImageController.h"
#include "identify/recognition/RecogniserSource.h"

#include <functional>
#include <memory>

class ImageSearch : public GetImageController {
public:
    /// What the recogniser found for a track. Any thread.
    using RecognitionFor = std::function<Recognition(int32_t songID)>;

    ImageSearch(std::shared_ptr<HttpClient> client, RecognitionFor recognitionFor)
        : client_(std::move(client)), recognitionFor_(std::move(recognitionFor)) {}

    /// Answers before it returns.
    void getCoverImage(const QVariantList &wanted, int32_t forSongID, const std::stop_token &stop) override;

private:
    const std::shared_ptr<HttpClient> client_;
    const RecognitionFor recognitionFor_;
    FetchedPictures pictures_;
};
