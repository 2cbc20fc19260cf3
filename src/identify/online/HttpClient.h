// Questions to web services, asked politely by whoever can wait for the answer.
//
// Threads: fetch() on any but the main thread, several at once; "Network" carries the connections and starts with the
// first question.
#pragma once

#include "identify/online/HostPace.h"

#include <QByteArray>
#include <QCache>
#include <QString>
#include <QThread>
#include <QUrl>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>

struct HttpRequest {
    QUrl url;
    QByteArray form = {}; ///< posted as a form, unless it is empty
    qint64 sizeLimit = 4 * 1024 * 1024;
    std::chrono::milliseconds spacing{1000}; ///< at least, between two requests to this host
    bool isRemembered = true;                ///< an answer to the same question is given again for an hour
    bool isAskedAnew = false;                ///< whatever was answered before
    PaceClock::TimePoint latest = PaceClock::TimePoint::max(); ///< when it is given up, by the client's clock
};

struct HttpAnswer {
    int status = 0; ///< 0 if nothing whole came
    QByteArray body = {};
    QUrl redirection = {}; ///< where the status is one that sends elsewhere
    QString error = {};    ///< for the log, where `status` is 0
};

class HttpClient {
public:
    struct Limits {
        std::chrono::milliseconds time{30'000}; ///< for the network; waiting for a host's turn doesn't count
        int hops = 5;
        int tries = 4; ///< of a host that refuses
        /// Asked before every request and while it runs, by any thread: once the answer is no, nobody is asked any
        /// more.
        std::function<bool()> mayAsk = [] { return true; };
    };

    /// Asks as long as the user allows it.
    HttpClient();
    HttpClient(PaceClock &clock, const Limits &limits);
    ~HttpClient();
    HttpClient(const HttpClient &) = delete;
    HttpClient &operator=(const HttpClient &) = delete;

    PaceClock::TimePoint now() const { return pace_.now(); }
    /// Blocks until the answer is there, the time is over, a stop is requested or nobody may be asked any more. Only
    /// http and https, and never from https to http. Nothing is kept of an answer to the next question, no cookie and
    /// no login.
    HttpAnswer fetch(const HttpRequest &request, const std::stop_token &stop);

private:
    struct Exchange;
    class Network;
    struct Remembered {
        HttpAnswer answer;
        std::chrono::steady_clock::time_point time;
    };

    HttpAnswer follow(const HttpRequest &request, const std::stop_token &stop);
    HttpAnswer askPolitely(const HttpRequest &request, std::chrono::milliseconds &left, const std::stop_token &stop);
    HttpAnswer ask(const HttpRequest &request, std::chrono::milliseconds time, const std::stop_token &stop);
    Network *network();
    void tell(const QString &host, const HttpAnswer &answer);

    const Limits limits_;
    PaceClock clock_;
    HostPace pace_{clock_};
    std::mutex mutex_;
    QCache<QByteArray, Remembered> remembered_{8 * 1024 * 1024}; // bytes; under mutex_
    QHash<QString, QString> troubles_;                           // that the log has been told; under mutex_
    std::unique_ptr<Network> network_;                           // made under mutex_
};
