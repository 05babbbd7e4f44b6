# Every library of the program. Each comes from the distribution; packaging/packages.txt lists them.
# A missing one is an error that names the package, never a feature silently left out.
function(vyn_require name package)
    if(NOT ${name})
        message(FATAL_ERROR "A library is missing: install the package '${package}' (./vyn setup does).")
    endif()
endfunction()

find_package(Threads REQUIRED)
find_package(XercesC QUIET)
vyn_require(XercesC_FOUND libxerces-c-dev)
find_package(Eigen3 3.4 QUIET NO_MODULE)
vyn_require(Eigen3_FOUND libeigen3-dev)
find_package(TIFF QUIET)
vyn_require(TIFF_FOUND libtiff-dev)
find_package(PNG QUIET)
vyn_require(PNG_FOUND libpng-dev)
find_package(ZLIB QUIET)
vyn_require(ZLIB_FOUND zlib1g-dev)
find_package(TBB QUIET)
vyn_require(TBB_FOUND libtbb-dev)
find_package(embree 3 QUIET)
vyn_require(embree_FOUND libembree-dev)
find_package(CLI11 QUIET)
vyn_require(CLI11_FOUND libcli11-dev)
find_package(nlohmann_json QUIET)
vyn_require(nlohmann_json_FOUND nlohmann-json3-dev)
find_package(OpenSSL QUIET COMPONENTS Crypto)
vyn_require(OPENSSL_FOUND libssl-dev)
if(VYN_TESTS)
    find_package(GTest QUIET)
    vyn_require(GTest_FOUND libgtest-dev)
    find_package(benchmark QUIET)
    vyn_require(benchmark_FOUND libbenchmark-dev)
    find_package(Qt5Test QUIET)
    vyn_require(Qt5Test_FOUND qtbase5-dev)
endif()

find_package(PkgConfig QUIET)
vyn_require(PkgConfig_FOUND pkg-config)
pkg_check_modules(CFITSIO QUIET IMPORTED_TARGET cfitsio)
vyn_require(CFITSIO_FOUND libcfitsio-dev)
pkg_check_modules(LIBZIP QUIET IMPORTED_TARGET libzip)
vyn_require(LIBZIP_FOUND libzip-dev)

find_package(Qt5 5.15 QUIET COMPONENTS Widgets)
vyn_require(Qt5_FOUND qtbase5-dev)
find_package(Qt5Svg QUIET)
vyn_require(Qt5Svg_FOUND libqt5svg5-dev)
find_package(Qt5Help QUIET)
vyn_require(Qt5Help_FOUND qttools5-dev)
pkg_check_modules(QWT QUIET IMPORTED_TARGET Qt5Qwt6)
vyn_require(QWT_FOUND libqwt-qt5-dev)
# Qwt 6.1 names a destructor with template arguments, which C++20 took out of the language. Targets
# with plots see a corrected copy of that header first, among the precompiled headers of Qt; its include
# guard keeps the other one away.
find_file(QWT_SERIES_STORE qwt_series_store.h PATHS ${QWT_INCLUDE_DIRS} NO_DEFAULT_PATH REQUIRED)
file(READ ${QWT_SERIES_STORE} qwt_text)
string(REPLACE "QwtSeriesStore<T>();" "QwtSeriesStore();" qwt_text "${qwt_text}")
set(VYN_QT_HEADERS <QtWidgets> <memory> <string> <vector>
    ${CMAKE_BINARY_DIR}/generated/qwt/qwt_series_store.h)
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/generated/qwt/qwt_series_store.h
     CONTENT "${qwt_text}" @ONLY)
if(VYN_WINDOWS)
    vyn_precompiled(vyn_qt_headers
        HEADERS ${VYN_QT_HEADERS}
        LINK vyn_qt_flags Qt5::Widgets
        INCLUDES ${QWT_INCLUDE_DIRS})
endif()

if(VYN_BENCH_PEERS)
    find_package(OpenCV QUIET COMPONENTS core imgproc)
    vyn_require(OpenCV_FOUND libopencv-dev)
endif()
