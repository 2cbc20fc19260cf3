// libmpv's functions, as far as they are used. The library is loaded with the first player rather than with the
// program: it comes with some two hundred others, and linking those took half of the time to the first window.
#pragma once

#include <mpv/client.h>
#include <mpv/stream_cb.h>

struct PlayerLibrary {
    /// Loads it at the first call, which takes about 0.1 s. Null when it is not there, at every call. Any thread.
    static const PlayerLibrary *load();

    decltype(&mpv_command_async) commandAsync;
    decltype(&mpv_create) create;
    decltype(&mpv_get_property_async) getPropertyAsync;
    decltype(&mpv_hook_add) addHook;
    decltype(&mpv_hook_continue) continueHook;
    decltype(&mpv_initialize) initialize;
    decltype(&mpv_set_option) setOption;
    decltype(&mpv_set_option_string) setOptionString;
    decltype(&mpv_set_property_async) setPropertyAsync;
    decltype(&mpv_set_wakeup_callback) setWakeupCallback;
    decltype(&mpv_stream_cb_add_ro) addProtocol;
    decltype(&mpv_terminate_destroy) terminateDestroy;
    decltype(&mpv_wait_event) waitEvent;
};
