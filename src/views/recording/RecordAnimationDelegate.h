// What moves the scene of the recording page.
//
// Threads: main.
#pragma once

/// Each operation may come again and again.
class RecordAnimationDelegate {
public:
    virtual void startMicrophoneAnimation() {}
    virtual void stopMicrophoneAnimation() {}
    virtual void startNoteAnimation() {}
    virtual void stopNoteAnimation() {}
    /// A track is about to be shown among those of this run.
    virtual void startCoverAnimation() {}
    virtual void stopCoverAnimation() {}

protected:
    ~RecordAnimationDelegate() = default;
};
