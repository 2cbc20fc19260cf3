// Takes pictures of the program's window at even intervals, so that one sees how it moves.
//
// Threads: the pictures are taken and written on a thread of its own.
#pragma once

#include <QString>
#include <condition_variable>
#include <mutex>
#include <thread>

class FrameCamera {
public:
    /// Begins to take pictures of the largest window on the display named by DISPLAY: "000.png" and so on in `folder`.
    explicit FrameCamera(const QString &folder);
    ~FrameCamera();
    FrameCamera(const FrameCamera &) = delete;
    FrameCamera &operator=(const FrameCamera &) = delete;

    /// Takes no more of them. The answer is what went wrong, null when nothing did.
    QString stop();

private:
    void run();
    bool isOver(std::chrono::steady_clock::time_point until);

    QString folder_;
    QString error_;    // the thread's, until it has ended
    std::mutex mutex_; // guards isOver_
    std::condition_variable end_;
    bool isOver_ = false;
    std::thread thread_;
};
