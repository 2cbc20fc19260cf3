#include "platform/media/PlayerLibrary.h"

#include "platform/run/Log.h"

#include <QLibrary>
#include <optional>

namespace {

template <typename Function>
bool resolve(QLibrary &library, const char *name, Function &function) {
    function = reinterpret_cast<Function>(library.resolve(name));
    return function != nullptr;
}

std::optional<PlayerLibrary> loadOnce() {
    QLibrary library("mpv", MPV_CLIENT_API_VERSION >> 16);
    PlayerLibrary mpv;
    if (resolve(library, "mpv_command_async", mpv.commandAsync) && resolve(library, "mpv_create", mpv.create) &&
        resolve(library, "mpv_get_property_async", mpv.getPropertyAsync) &&
        resolve(library, "mpv_hook_add", mpv.addHook) && resolve(library, "mpv_hook_continue", mpv.continueHook) &&
        resolve(library, "mpv_initialize", mpv.initialize) && resolve(library, "mpv_set_option", mpv.setOption) &&
        resolve(library, "mpv_set_option_string", mpv.setOptionString) &&
        resolve(library, "mpv_set_property_async", mpv.setPropertyAsync) &&
        resolve(library, "mpv_set_wakeup_callback", mpv.setWakeupCallback) &&
        resolve(library, "mpv_stream_cb_add_ro", mpv.addProtocol) &&
        resolve(library, "mpv_terminate_destroy", mpv.terminateDestroy) &&
        resolve(library, "mpv_wait_event", mpv.waitEvent))
        return mpv;
    logLine("libmpv can't be loaded: " + library.errorString());
    return std::nullopt;
}

} // namespace

const PlayerLibrary *PlayerLibrary::load() {
    static const std::optional<PlayerLibrary> library = loadOnce();
    return library ? &*library : nullptr;
}
