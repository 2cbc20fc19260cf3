// A source of ours over the monitor of the default output: how it is made, found again, pointed and taken away.
//
// Threads: as SoundServerLink.h.
#include "platform/sound/SoundServerLink.h"

QString RemappedSource::moduleArgument(const QString &monitorName) const {
    return QString("source_name=%1 master=\"%2\" channels=2 channel_map=front-left,front-right "
                   "source_properties='device.description=\"%3\"'")
        .arg(name, monitorName, description);
}

bool RemappedSource::isMadeBy(const SoundModule &module) const {
    return module.name == kModule && module.argument.split(' ').contains("source_name=" + name);
}

/// Where the source stands, and where it should.
struct SoundServer::Link::Placement {
    SoundSink output;                              ///< the default output
    bool isListed = false;                         ///< there is a source of that name
    std::optional<uint32_t> module;                ///< what made it; none when it came another way
    std::optional<SoundSourceOutput> sourceOutput; ///< the stream through which it hears

    bool isRight() const { return isListed && sourceOutput && sourceOutput->sourceIndex == output.monitorIndex; }
};

std::optional<SoundServer::Link::Placement> SoundServer::Link::placement(const RemappedSource &source,
                                                                         SoundDeadline until) {
    const auto output = defaultSink(until);
    const auto allSources = output ? sources(until) : std::nullopt;
    const auto allModules = allSources ? modules(until) : std::nullopt;
    const auto allOutputs = allModules ? sourceOutputs(until) : std::nullopt;
    if (!allOutputs)
        return std::nullopt;
    Placement result{*output, false, std::nullopt, std::nullopt};
    for (const SoundSource &one : *allSources)
        result.isListed = result.isListed || one.name == source.name;
    for (const SoundModule &module : *allModules)
        if (source.isMadeBy(module))
            result.module = module.index;
    for (const SoundSourceOutput &one : *allOutputs)
        if (result.module && one.ownerModule == *result.module)
            result.sourceOutput = one;
    return result;
}

bool SoundServer::Link::point(const RemappedSource &source, SoundDeadline until) {
    const std::lock_guard guard(pointing_);
    return pointLocked(source, until);
}

bool SoundServer::Link::pointLocked(const RemappedSource &source, SoundDeadline until) {
    for (;;) {
        const uint64_t seen = changes();
        const auto now = placement(source, until);
        if (!now)
            return false;
        if (now->isRight() || (now->isListed && !now->module))
            return true; // a source of that name that somebody else made stands as they made it
        if (now->isListed && now->sourceOutput)
            return moveSourceOutput(now->sourceOutput->index, now->output.monitorName, until);
        if (!now->module) {
            if (!loadModule(RemappedSource::kModule, source.moduleArgument(now->output.monitorName), until))
                return false;
        } else if (!waitForChange(seen, until)) {
            return false; // a module just loaded shows its source and its stream one after the other
        }
    }
}

bool SoundServer::Link::isPointed(const RemappedSource &source, SoundDeadline until) {
    const auto now = placement(source, until);
    return now && now->isRight();
}

bool SoundServer::Link::remove(const RemappedSource &source, SoundDeadline until) {
    const std::lock_guard guard(pointing_);
    const auto allModules = modules(until);
    bool areGone = allModules.has_value();
    for (const SoundModule &module : allModules.value_or(QList<SoundModule>()))
        if (source.isMadeBy(module))
            areGone = unloadModule(module.index, until) && areGone;
    return areGone;
}
