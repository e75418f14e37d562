# GoogleTest's targets: the distribution's build, or one of its source where that was built for another standard library
# or architecture.
set(ZSL_GTEST_SOURCE "" CACHE PATH "Folder of GoogleTest's source, to build it along")
if(ZSL_GTEST_SOURCE)
  # Its own warnings are not ours.
  set(INSTALL_GTEST OFF CACHE INTERNAL "")
  add_subdirectory(${ZSL_GTEST_SOURCE} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
  foreach(library gtest gtest_main gmock gmock_main)
    target_compile_options(${library} PRIVATE -w)
    if(NOT TARGET GTest::${library})
      add_library(GTest::${library} ALIAS ${library})
    endif()
  endforeach()
else()
  find_package(GTest REQUIRED)
endif()
