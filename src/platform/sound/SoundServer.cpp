#include "platform/sound/SoundServer.h"

#include "platform/sound/SoundServerLink.h"

SoundServer &SoundServer::defaultServer() {
    static SoundServer server;
    return server;
}

SoundServer::SoundServer() : link_(std::make_unique<Link>()) {}

SoundServer::~SoundServer() = default;

std::optional<SoundServerInfo> SoundServer::info() { return link_->info(soundDeadline()); }

std::optional<QList<SoundSource>> SoundServer::sources() { return link_->sources(soundDeadline()); }

std::optional<QList<SoundSink>> SoundServer::sinks() { return link_->sinks(soundDeadline()); }

std::optional<SoundSink> SoundServer::defaultSink() { return link_->defaultSink(soundDeadline()); }

std::optional<QList<PlayedStream>> SoundServer::playedStreams() { return link_->playedStreams(soundDeadline()); }

bool SoundServer::pointRemappedSource(const RemappedSource &source) { return link_->point(source, soundDeadline()); }

bool SoundServer::isRemappedSourcePointed(const RemappedSource &source) {
    return link_->isPointed(source, soundDeadline());
}

bool SoundServer::removeRemappedSource(const RemappedSource &source) { return link_->remove(source, soundDeadline()); }

void SoundServer::followDefaultSink(std::optional<RemappedSource> source) { link_->follow(std::move(source)); }

void SoundServer::setInputDevicesChanged(std::function<void(const QList<SoundSource> &)> inputDevicesChanged) {
    link_->inputDevicesChanged_ = std::move(inputDevicesChanged);
}
