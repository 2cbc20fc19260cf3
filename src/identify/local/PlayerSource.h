// The recogniser's source that goes by what the player said.
//
// Threads: as RecogniserSource says.
#pragma once

#include "identify/local/HeardNames.h"

class PlayerSource final : public RecogniserSource {
public:
    /// `names` outlives this.
    explicit PlayerSource(HeardNames &names) : names_(names) {}

    QString key() const override;
    bool isUsable() const override;
    RecogniserAnswer recognise(const RecognitionTask &task, const std::stop_token &stop) override;

private:
    HeardNames &names_;
};
