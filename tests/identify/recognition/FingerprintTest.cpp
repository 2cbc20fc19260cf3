#include "identify/recognition/Fingerprint.h"
#include "support/MadeAudio.h"

#include <bit>
#include <gtest/gtest.h>
#include <thread>

namespace {

using namespace std::chrono_literals;

// Three voices whose notes change.
constexpr const char *kMusic = "aevalsrc='0.2*sin(2*PI*t*110*pow(2,floor(mod(t*2,8))/12))+0.2*sin(2*PI*t*330*"
                               "pow(2,floor(mod(t*3,7))/12))':d=20:s=%1,aformat=channel_layouts=%2";

QString music(const char *name, const char *layout = "stereo", int rate = 44100) {
    return makeSound(QString::fromLatin1(name), QString::fromLatin1(kMusic).arg(rate).arg(QLatin1String(layout)));
}

double bitErrors(const Fingerprint &one, const Fingerprint &other) {
    const size_t count = std::min(one.raw.size(), other.raw.size());
    int errors = 0;
    for (size_t i = 0; i < count; ++i)
        errors += std::popcount(one.raw[i] ^ other.raw[i]);
    return errors / (32.0 * static_cast<double>(count));
}

TEST(Fingerprint, IsThatOfTheSoundAndNotOfItsEncoding) {
    const auto whole = fingerprintOfFile(music("a.wav"), 120s, {});
    ASSERT_TRUE(whole);
    EXPECT_NEAR(static_cast<double>(whole->raw.size()), (20 - 2.8) * 8, 8);
    for (const QString &path : {music("a.m4a"), music("a.mp3"), music("mono.flac", "mono"),
                                music("fast.wav", "stereo", 48000), music("six.wav", "5.1")}) {
        SCOPED_TRACE(path.toStdString());
        const auto other = fingerprintOfFile(path, 120s, {});
        ASSERT_TRUE(other);
        EXPECT_NEAR(static_cast<double>(other->raw.size()), static_cast<double>(whole->raw.size()), 1);
        EXPECT_LT(bitErrors(*whole, *other), 0.1);
    }
    const auto start = fingerprintOfFile(inHome("a.wav"), 10s, {});
    ASSERT_TRUE(start);
    EXPECT_LT(start->raw.size(), whole->raw.size());
    EXPECT_LT(bitErrors(*whole, *start), 0.01);
    EXPECT_TRUE(whole->compressed().startsWith("AQ")) << "the first byte is the number of the algorithm, 1";
}

TEST(Fingerprint, IsNothingWhereThereIsNoMusic) {
    for (const QString &path : {makeTone("short.mp3", {}, /*seconds=*/1), makeFile("text.mp3", "some words"),
                                makeFile("empty.m4a", ""), inHome("missing.mp3"), QString()}) {
        SCOPED_TRACE(path.toStdString());
        EXPECT_FALSE(fingerprintOfFile(path, 120s, {}));
    }
    std::stop_source stop;
    stop.request_stop();
    EXPECT_FALSE(fingerprintOfFile(music("a.mp3"), 120s, stop.get_token()));
}

TEST(Fingerprint, OfSeveralThreadsAtOnceIsTheSame) {
    const QString path = music("a.mp3");
    std::vector<std::optional<Fingerprint>> found(4);
    std::vector<std::jthread> threads;
    threads.reserve(found.size());
    for (auto &fingerprint : found)
        threads.emplace_back([&] { fingerprint = fingerprintOfFile(path, 120s, {}); });
    threads.clear();
    for (const auto &fingerprint : found)
        EXPECT_EQ(fingerprint.value().raw, found.front()->raw);
}

} // namespace
