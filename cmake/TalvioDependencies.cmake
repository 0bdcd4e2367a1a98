# Every outside library, found once.

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

pkg_check_modules(FFMPEG REQUIRED IMPORTED_TARGET
    libavformat>=59 libavcodec>=59 libavutil>=57 libswscale>=6 libswresample>=4 libavfilter>=8)
pkg_check_modules(TURBOJPEG REQUIRED IMPORTED_TARGET libturbojpeg)
pkg_check_modules(XCB REQUIRED IMPORTED_TARGET xcb xcb-shm)
find_package(cubeb REQUIRED CONFIG)

find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Widgets Xml Core5Compat Svg LinguistTools)

if(TALVIO_TESTS)
    find_package(Qt6 6.4 REQUIRED COMPONENTS DBus Test)
    find_package(GTest REQUIRED)
endif()
if(TALVIO_BENCH)
    find_package(benchmark REQUIRED)
endif()
