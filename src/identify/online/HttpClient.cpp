#include "identify/online/HttpClient.h"

#include "identify/online/JsonText.h"
#include "identify/recognition/RecognitionSettings.h"
#include "platform/run/Log.h"
#include "platform/run/Semaphore.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

using namespace std::chrono_literals;

namespace {

constexpr auto kRememberedFor = 1h;
constexpr const char *kUserAgent = "Corvidia/" CORVIDIA_VERSION " ( " CORVIDIA_CONTACT " )";

QString hostOf(const QUrl &url) { return QStringLiteral("%1:%2").arg(url.host()).arg(url.port(-1)); }

bool isAllowed(const QUrl &url) {
    return url.isValid() && (url.scheme() == "http" || url.scheme() == "https") && !url.host().isEmpty();
}

bool isRefusal(int status) { return status == 429 || status == 503; }

bool isRedirection(int status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

// What others put in a service's place, as the network of a hotel does, is HTML; and an answer may have been cut short.
bool isWorthRemembering(const HttpAnswer &answer) {
    return answer.status == 404 || (answer.status == 200 && jsonObject(answer.body));
}

HttpAnswer failure(const char *error) { return {.error = QString::fromLatin1(error)}; }

QNetworkRequest networkRequest(const HttpRequest &request) {
    QNetworkRequest made(request.url);
    made.setRawHeader("User-Agent", kUserAgent);
    if (!request.form.isEmpty())
        made.setHeader(QNetworkRequest::ContentTypeHeader, "application/x-www-form-urlencoded");
    made.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    made.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    made.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    for (const auto attribute :
         {QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::CookieSaveControlAttribute,
          QNetworkRequest::AuthenticationReuseAttribute})
        made.setAttribute(attribute, QNetworkRequest::Manual);
    return made;
}

// Errors of the service, unlike those of the way to it, come with an answer.
bool isAnswer(QNetworkReply::NetworkError error) {
    const auto isBetween = [error](int first, int last) { return error >= first && error <= last; };
    return error == QNetworkReply::NoError || error == QNetworkReply::ProtocolInvalidOperationError || // 400
           isBetween(QNetworkReply::ContentAccessDenied, QNetworkReply::UnknownContentError) ||
           isBetween(QNetworkReply::InternalServerError, QNetworkReply::UnknownServerError);
}

} // namespace

/// One question and its answer, shared by who asked and "Network".
struct HttpClient::Exchange {
    HttpRequest request;
    Semaphore changed;

    /// The first answer counts.
    void end(HttpAnswer with) {
        {
            const std::lock_guard lock(mutex_);
            if (!answer_)
                answer_ = std::move(with);
        }
        changed.post();
    }
    std::optional<HttpAnswer> answer() {
        const std::lock_guard lock(mutex_);
        return answer_;
    }

private:
    std::mutex mutex_;
    std::optional<HttpAnswer> answer_; // under mutex_
};

/// Lives on the thread "Network". Ends with the program's event loop, if not before.
class HttpClient::Network : public QObject {
public:
    Network() {
        thread_.setObjectName("Network");
        moveToThread(&thread_);
        connect(
            &thread_, &QThread::finished, this,
            [this] {
                const std::lock_guard lock(mutex_);
                manager_.reset();
            },
            Qt::DirectConnection);
        if (auto *application = QCoreApplication::instance())
            connect(
                application, &QCoreApplication::aboutToQuit, this, [this] { finish(); }, Qt::DirectConnection);
        thread_.start();
    }
    ~Network() override { finish(); }

    /// Any thread.
    void start(const std::shared_ptr<Exchange> &exchange) { handOver({exchange, /*isWanted=*/true}); }
    /// Any thread. The answer of `exchange` is wanted no more.
    void abandon(const std::shared_ptr<Exchange> &exchange) { handOver({exchange, /*isWanted=*/false}); }

protected:
    void customEvent(QEvent * /*wakeUp*/) override {
        for (const Order &order : takeOrders())
            if (order.isWanted)
                begin(order.exchange);
            else if (QNetworkReply *reply = replies_.value(order.exchange.get()))
                reply->abort();
    }

private:
    struct Order {
        std::shared_ptr<Exchange> exchange;
        bool isWanted = true;
    };

    void handOver(const Order &order) {
        {
            const std::lock_guard lock(mutex_);
            orders_.push_back(order);
        }
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
    }
    std::vector<Order> takeOrders() {
        const std::lock_guard lock(mutex_);
        return std::exchange(orders_, {});
    }

    void finish() {
        thread_.quit();
        thread_.wait();
        // What the thread did last is seen by whoever goes on.
        const std::lock_guard lock(mutex_);
    }

    void begin(const std::shared_ptr<Exchange> &exchange) {
        if (!manager_)
            manager_ = std::make_unique<QNetworkAccessManager>();
        const QNetworkRequest request = networkRequest(exchange->request);
        const QByteArray &form = exchange->request.form;
        QNetworkReply *reply = form.isEmpty() ? manager_->get(request) : manager_->post(request, form);
        replies_.insert(exchange.get(), reply);
        const auto body = std::make_shared<QByteArray>();
        connect(reply, &QNetworkReply::readyRead, this, [reply, body, exchange] { take(*reply, *body, *exchange); });
        connect(reply, &QNetworkReply::finished, this, [this, reply, body, exchange] {
            if (reply->isOpen()) // and was not aborted
                take(*reply, *body, *exchange);
            finishReply(*reply, *body, *exchange);
        });
    }

    static void take(QNetworkReply &reply, QByteArray &body, Exchange &exchange) {
        const qint64 limit = exchange.request.sizeLimit;
        const bool isTooLarge = reply.header(QNetworkRequest::ContentLengthHeader).toLongLong() > limit;
        // No more than is there: the bytes keep the room that was asked for, and an answer is remembered for long.
        body += reply.read(std::min(reply.bytesAvailable(), limit + 1 - body.size()));
        if (isTooLarge || body.size() > limit) {
            exchange.end(failure("it sends too much"));
            if (reply.isRunning())
                reply.abort();
        }
    }

    void finishReply(QNetworkReply &reply, const QByteArray &body, Exchange &exchange) {
        replies_.remove(&exchange);
        reply.deleteLater();
        const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (!isAnswer(reply.error()) || status == 0)
            exchange.end({.error = reply.errorString()});
        else
            exchange.end(
                {.status = status, .body = body, .redirection = QUrl::fromEncoded(reply.rawHeader("Location"))});
    }

    QThread thread_;
    std::mutex mutex_;
    std::vector<Order> orders_; // for the thread; under mutex_
    // On the thread.
    std::unique_ptr<QNetworkAccessManager> manager_;
    QHash<Exchange *, QNetworkReply *> replies_; // in work
};

HttpClient::HttpClient() : limits_{.mayAsk = [] { return RecognitionSettings::current().online; }} {}
HttpClient::HttpClient(PaceClock &clock, const Limits &limits) : limits_(limits), pace_(clock) {}
HttpClient::~HttpClient() = default;

HttpAnswer HttpClient::fetch(const HttpRequest &request, const std::stop_token &stop) {
    const QByteArray question = request.url.toEncoded() + '\n' + request.form;
    if (request.isRemembered && !request.isAskedAnew) {
        const std::lock_guard lock(mutex_);
        if (const Remembered *known = remembered_.object(question);
            known && std::chrono::steady_clock::now() - known->time < kRememberedFor)
            return known->answer;
    }
    HttpAnswer answer = follow(request, stop);
    if (!stop.stop_requested() && limits_.mayAsk())
        tell(request.url.host(), answer);
    if (request.isRemembered && isWorthRemembering(answer)) {
        const std::lock_guard lock(mutex_);
        remembered_.insert(question, new Remembered{answer, std::chrono::steady_clock::now()},
                           question.size() + answer.body.size());
    }
    return answer;
}

HttpAnswer HttpClient::follow(const HttpRequest &request, const std::stop_token &stop) {
    HttpRequest next = request;
    std::chrono::milliseconds left = limits_.time;
    for (int hops = 0; hops <= limits_.hops; ++hops) {
        if (!isAllowed(next.url))
            return failure("it is no address of the web");
        HttpAnswer answer = askPolitely(next, left, stop);
        // What was posted goes nowhere else.
        if (!isRedirection(answer.status) || answer.redirection.isEmpty() || !request.form.isEmpty())
            return answer;
        const QUrl target = next.url.resolved(answer.redirection);
        if (next.url.scheme() == "https" && target.scheme() != "https")
            return failure("it sends to an address that isn't safe");
        next.url = target;
    }
    return failure("it sends from address to address");
}

HttpAnswer HttpClient::askPolitely(const HttpRequest &request, std::chrono::milliseconds &left,
                                   const std::stop_token &stop) {
    const QString host = hostOf(request.url);
    for (int tries = 1;; ++tries) {
        if (!pace_.waitForTurn(host, request.spacing, stop, request.latest))
            return failure(stop.stop_requested() ? "stopped" : "its turn comes too late");
        const auto start = std::chrono::steady_clock::now();
        const auto remaining = std::chrono::floor<std::chrono::milliseconds>(request.latest - pace_.now());
        HttpAnswer answer = ask(request, std::min(left, remaining), stop);
        left -= std::chrono::ceil<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
        if (!isRefusal(answer.status)) {
            if (answer.status != 0)
                pace_.wasAnswered(host);
            return answer;
        }
        pace_.wasRefused(host);
        if (tries >= limits_.tries)
            return answer;
    }
}

HttpAnswer HttpClient::ask(const HttpRequest &request, std::chrono::milliseconds time, const std::stop_token &stop) {
    const auto isWanted = [&] { return !stop.stop_requested() && limits_.mayAsk(); };
    if (!isWanted())
        return failure("stopped");
    const auto exchange = std::make_shared<Exchange>();
    exchange->request = request;
    Network *carrier = network();
    carrier->start(exchange);
    const std::stop_callback wake(stop, [&exchange] { exchange->changed.post(); });
    const auto end = std::chrono::steady_clock::now() + time;
    while (isWanted()) {
        if (auto answer = exchange->answer())
            return *answer;
        const auto left = end - std::chrono::steady_clock::now();
        if (left <= 0s)
            break;
        exchange->changed.waitAtMost(semaphoreTime(left));
    }
    carrier->abandon(exchange);
    return failure(isWanted() ? "it takes too long" : "stopped");
}

HttpClient::Network *HttpClient::network() {
    const std::lock_guard lock(mutex_);
    if (!network_)
        network_ = std::make_unique<Network>();
    return network_.get();
}

// A service that is in trouble for a whole evening is one line.
void HttpClient::tell(const QString &host, const HttpAnswer &answer) {
    const bool isTrouble = answer.status == 0 || isRefusal(answer.status) || answer.status >= 500;
    const QString trouble = answer.status == 0 ? answer.error : QString::number(answer.status);
    const std::lock_guard lock(mutex_);
    if (!isTrouble)
        troubles_.remove(host);
    else if (std::exchange(troubles_[host], trouble) != trouble)
        logLine(QStringLiteral("no answer from %1: %2").arg(host, trouble));
}
