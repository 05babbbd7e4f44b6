# Libraries of the window and of its tests.
find_package(Qt5 5.15 QUIET COMPONENTS Widgets)
vyn_require(Qt5_FOUND qtbase5-dev)
if(VYN_TESTS)
    find_package(Qt5Test QUIET)
    vyn_require(Qt5Test_FOUND qtbase5-dev)
endif()
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
vyn_precompiled(vyn_qt_headers
    HEADERS ${VYN_QT_HEADERS}
    LINK vyn_qt_flags vyn_glue Qt5::Widgets
    INCLUDES ${QWT_INCLUDE_DIRS})
