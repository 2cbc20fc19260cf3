# Everything comes from the distribution; a missing library is named together with the script that installs it.
set(INSTALL_HINT "run scripts/install-dependencies, which installs it")

find_package(PkgConfig QUIET)
find_package(Qt6 6.4 QUIET COMPONENTS Core Gui Widgets Network DBus Svg)
if(NOT PkgConfig_FOUND OR NOT Qt6_FOUND)
    message(FATAL_ERROR "Qt 6.4 (base and svg) and pkg-config are needed: ${INSTALL_HINT}")
endif()

function(corvidia_require target)
    pkg_check_modules(${target} QUIET IMPORTED_TARGET ${ARGN})
    if(NOT ${target}_FOUND)
        message(FATAL_ERROR "${ARGN} is needed: ${INSTALL_HINT}")
    endif()
endfunction()

corvidia_require(FFMPEG libavformat libavcodec libswresample libavutil)
corvidia_require(PULSE libpulse)
corvidia_require(MPV mpv)
corvidia_require(SQLITE sqlite3)
corvidia_require(TAGLIB taglib)
corvidia_require(ZLIB zlib)
corvidia_require(CHROMAPRINT libchromaprint)
corvidia_require(XCB xcb)

find_path(LAME_INCLUDE_DIR lame/lame.h)
find_library(LAME_LIBRARY mp3lame)
if(NOT LAME_INCLUDE_DIR OR NOT LAME_LIBRARY)
    message(FATAL_ERROR "LAME (libmp3lame) is needed: ${INSTALL_HINT}")
endif()
add_library(Lame::Lame INTERFACE IMPORTED)
set_target_properties(Lame::Lame PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${LAME_INCLUDE_DIR}
                                            INTERFACE_LINK_LIBRARIES ${LAME_LIBRARY})

find_program(LRELEASE NAMES lrelease HINTS ${QT6_INSTALL_PREFIX}/${QT6_INSTALL_BINS} /usr/lib/qt6/bin)
if(NOT LRELEASE)
    message(FATAL_ERROR "Qt's lrelease is needed: ${INSTALL_HINT}")
endif()
