// The audio thread's side of the engine: the way of one block. Nothing here allocates, logs or touches a file.
#include "capture/AudioRecord.h"

#include "capture/SilenceWatch.h"
#include "platform/run/HostTime.h"

#include <algorithm>
#include <cmath>

namespace {
// So many blocks for the MP3 writer, and it is woken before its sleep is over: two fragments of the device have come
// together, as in the flood after a stall. The pool still has room for what is left of them.
constexpr size_t kBlocksToWakeFor = 12;
// Held blocks are worked off at twice the rate at which they come, but no faster than they come while so many blocks
// wait for the MP3 writer, lest it has to be woken for each fragment.
constexpr int kBlocksToSlowDownFor = 4;
// Sound behind so much silence, a second, wakes the main thread.
constexpr qint64 kBlocksOfSilenceToWakeFor = 86;
// 0.7 of a block, so at least 359 of 512 samples.
constexpr double kQuietShare = 0.7;
constexpr double kQuietSample = 0.0001;

/// Milliseconds from `toStartTime` to `duration`, both host times. Unsigned: a start that is the later one wraps.
qint64 getWriteFileDuration(uint64_t duration, uint64_t toStartTime) noexcept {
    return static_cast<qint64>(static_cast<double>(AudioConvertHostTimeToNanos(duration - toStartTime)) * 1e-6);
}

/// One more, by the only thread that adds; the other threads only clear, and a clear that is overtaken costs a block.
template <typename T>
T increment(std::atomic<T> &counter) noexcept {
    const T next = counter.load(std::memory_order_relaxed) + 1;
    counter.store(next, std::memory_order_relaxed);
    return next;
}
} // namespace

bool AudioRecord::isNULLAudioData(const float *left) noexcept {
    if (!left)
        return false;
    int quiet = 0;
    for (uint32_t i = 0; i < kBlockFrames; ++i)
        quiet += std::fabs(static_cast<double>(left[i])) < kQuietSample;
    return quiet * 1.0 / kBlockFrames >= kQuietShare;
}

Status AudioRecord::AudioInputProc(const InputSlice &slice) noexcept {
    if (slice.frames != kBlockFrames) {
        BlockReport wrong;
        wrong.isWrongSize = true;
        report(wrong);
        return 0;
    }
    // In one order with the test for holds: a hold that is not seen here waits until this block is through.
    isInBlock_.store(true, std::memory_order_seq_cst);
    if (wantsSamples_.load(std::memory_order_relaxed))
        display(slice);
    int processed = 0;
    const auto mayProcess = [&] {
        // What a pool that is full cannot take waits in the hold.
        const int limit = processed == 0 ? static_cast<int>(kMP3Blocks) : kBlocksToSlowDownFor;
        return processed < 2 && mp3Pending_.load(std::memory_order_relaxed) < limit && !isHolding();
    };
    for (; mayProcess() && heldBlocks_.front(); ++processed)
        processOldestHeldBlock();
    if (mayProcess() && !heldBlocks_.front())
        processBlock(slice);
    else
        hold(slice);
    isInBlock_.store(false, std::memory_order_release); // what was done is seen by the hold that waited for it
    return slice.status;
}

/// Before anything holds the block back: a display shows what is heard.
void AudioRecord::display(const InputSlice &block) noexcept {
    SoundBlock *samples = block.left && block.right ? samples_.beginPush() : nullptr;
    if (!samples)
        return;
    samples->copyFrom(block.left, block.right);
    samples_.endPush();
}

bool AudioRecord::isHolding() const noexcept {
    // acquire on the flag: a split that has been answered is seen together with the file that it opened
    return splitPending_.load(std::memory_order_acquire) || holds_.load(std::memory_order_seq_cst) > 0;
}

void AudioRecord::hold(const InputSlice &slice) noexcept {
    HeldBlock *place = heldBlocks_.beginPush();
    if (!place) {
        // The main thread or the MP3 writer has been away too long. Without an answer to a split it goes on; but where
        // the main thread is changing the files, the hold is in its hands.
        if (holds_.load(std::memory_order_acquire) > 0)
            return loseBlock(slice);
        processOldestHeldBlock();
        place = heldBlocks_.beginPush();
    }
    place->copyFrom(slice);
    heldBlocks_.endPush();
}

void AudioRecord::loseBlock(const InputSlice &block) noexcept {
    BlockReport result = listen(block);
    if (!result.isNull && block.status == 0)
        lostHeldBlocks_.fetch_add(1, std::memory_order_relaxed);
    report(result);
}

void AudioRecord::processOldestHeldBlock() noexcept {
    processBlock(heldBlocks_.front()->slice());
    heldBlocks_.pop();
}

void AudioRecord::HeldBlock::copyFrom(const InputSlice &slice) noexcept {
    hostTime = slice.hostTime;
    status = slice.status;
    hasSamples = slice.left && slice.right;
    if (hasSamples)
        samples.copyFrom(slice.left, slice.right);
}

InputSlice AudioRecord::HeldBlock::slice() const noexcept {
    return {hostTime, kBlockFrames, hasSamples ? samples.left.data() : nullptr,
            hasSamples ? samples.right.data() : nullptr, status};
}

void AudioRecord::processBlock(const InputSlice &block) noexcept {
    BlockReport result = listen(block);
    result.isForOpenFile = isRecording() && block.status == 0;
    result.checksSplit = recordBlock(block, result.isNull) && result.isNull;
    report(result);
}

AudioRecord::BlockReport AudioRecord::listen(const InputSlice &block) noexcept {
    BlockReport result;
    result.isNull = isNULLAudioData(block.left);
    result.wakes = !result.isNull && (!hasHeardSound_ || nullDurationTime_ >= kBlocksOfSilenceToWakeFor);
    hasHeardSound_ |= !result.isNull;
    nullDurationTime_ = result.isNull ? nullDurationTime_ + 1 : 0;
    result.nullDuration = nullDurationTime_;
    return result;
}

/// Gives the block to the open file. False if there is none, or the block does not belong into it. By the audio thread,
/// or by the main thread under a hold.
bool AudioRecord::recordBlock(const InputSlice &block, bool isNull) noexcept {
    const bool isFirstBlock = RecordedSize_.load(std::memory_order_relaxed) == 0;
    // The file's clock starts when its first audible block is complete. The block's own end serves as the present:
    // blocks may come in bursts or out of a hold, and the wall clock would then run ahead of the sound.
    if (isFirstBlock && !isNull)
        startHostTime_.store(block.hostTime + kBlockNanoseconds, std::memory_order_relaxed);
    // Silence before the first audible block is dropped, silence behind it goes into the file.
    if (!isRecording() || block.status != 0 || (isNull && isFirstBlock))
        return false;
    if (isNull)
        increment(AudioNULLNumber_);
    else
        AudioNULLNumber_.store(0, std::memory_order_relaxed);
    writeBlock(block);
    endHostTime_.store(block.hostTime + kBlockNanoseconds, std::memory_order_relaxed);
    recordedDurationTime_.store(getWriteFileDuration(block.hostTime, startHostTime_.load(std::memory_order_relaxed)),
                                std::memory_order_relaxed);
    return true;
}

void AudioRecord::writeBlock(const InputSlice &block) noexcept {
    if (outputM4aAudioFile_.load(std::memory_order_relaxed)) {
        const std::lock_guard guard(m4acloseFileCondition_);
        // A close may have won the race for the lock; the block is then past the file's end.
        if (ExtAudioFile *file = outputM4aAudioFile_.load(std::memory_order_relaxed))
            file->writeAsync(block.left, block.right);
        increment(RecordedSize_);
    }
    if (outputMP3AudioFile_.load(std::memory_order_relaxed)) {
        writeMP3AudioData(block.left, block.right);
        increment(RecordedSize_);
    }
}

void AudioRecord::writeMP3AudioData(const float *left, const float *forRightData) noexcept {
    audioDataMemery *block = getAudioFrame();
    if (!block) {
        lostMP3Blocks_.fetch_add(1, std::memory_order_relaxed); // RecordedSize_ counts the block all the same
        return;
    }
    std::copy_n(left, kBlockFrames, block->LbufferData.begin());
    std::copy_n(forRightData, kBlockFrames, block->rbufferData.begin());
    mp3Pending_.fetch_add(1, std::memory_order_relaxed);
    size_t queuedBlocks = 0;
    {
        const std::lock_guard guard(mp3Condition_);
        mp3WriteList_.push_back(block); // within its reserve: the pool bounds its length
        queuedBlocks = mp3WriteList_.size();
    }
    if (queuedBlocks == kBlocksToWakeFor)
        mp3Hurry_.post();
}

AudioRecord::audioDataMemery *AudioRecord::getAudioFrame() noexcept {
    for (audioDataMemery &block : mp3AudioMemlist_)
        if (block.isEmpty.load(std::memory_order_acquire)) {
            block.isEmpty.store(false, std::memory_order_relaxed);
            return &block;
        }
    return nullptr;
}

void AudioRecord::report(BlockReport &result) noexcept {
    result.fileNumber = fileNumber_.load(std::memory_order_relaxed);
    result.recordedSize = RecordedSize_.load(std::memory_order_relaxed);
    result.nullNumber = AudioNULLNumber_.load(std::memory_order_relaxed);
    result.durationTime = recordedDurationTime_.load(std::memory_order_relaxed);
    result.holdsForSplit = result.checksSplit && cutsAtSilence_.load(std::memory_order_relaxed) &&
                           isSplitDue(result.nullNumber, autoSplitTimeInterval_.load(std::memory_order_relaxed));
    // The flag goes up before the report can be answered.
    if (result.holdsForSplit)
        splitPending_.store(true, std::memory_order_relaxed);
    if (BlockReport *slot = reports_.beginPush()) {
        *slot = result;
        reports_.endPush();
        if (result.wakes && wantsWake_.load(std::memory_order_relaxed))
            wake_.signal();
    } else {
        increment(lostReports_);
        if (result.holdsForSplit)
            splitPending_.store(false, std::memory_order_relaxed); // nobody will answer
        if (!result.isNull && !result.isWrongSize)
            lostAudibleReport_.store(true, std::memory_order_relaxed);
    }
}
