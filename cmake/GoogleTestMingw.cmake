# GoogleTest for the unit tests of a Windows build: Debian packages its sources only for the
# native compiler, so they are compiled here with the cross compiler.
set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
