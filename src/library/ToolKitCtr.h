// What the page of tools does with the whole library.
//
// Threads: main; the search for files has a thread of its own, which knows paths and sizes only.
#pragma once

#include "store/SongArray.h"
#include "views/library/MusicToolKitView.h"

#include <QPointer>
#include <atomic>
#include <future>
#include <thread>

/// What the tools need of the library. Outlives its ToolKitCtr.
class ToolKitCtrDelegate {
public:
    virtual const SongArray &allSongArray() const = 0;
    virtual void removeFromLibrary(const SongArray &songs) = 0;
    /// The track has another path now, and stands so in the database.
    virtual void songDidMove(const SongPtr &song) = 0;

protected:
    ~ToolKitCtrDelegate() = default;
};

class ToolKitCtr final : private MusicToolKitViewDelegate {
public:
    explicit ToolKitCtr(ToolKitCtrDelegate &delegate);
    ~ToolKitCtr();
    ToolKitCtr(const ToolKitCtr &) = delete;
    ToolKitCtr &operator=(const ToolKitCtr &) = delete;

    /// The page; whoever shows it takes it over.
    QWidget *view() const { return view_; }

private:
    void openRecordingsFolder() override;
    void findMissingTracks() override;
    void removeTracks(const SongArray &songs) override;
    void locateTrack(const SongPtr &song, const QString &path) override;
    void cancelSearch();

    ToolKitCtrDelegate &delegate_;
    QPointer<MusicToolKitView> view_;
    std::thread search_;
    std::future<void> hasEnded_; // of search_
    std::shared_ptr<std::atomic<bool>> isCancelled_;
};
