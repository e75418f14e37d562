# Shares the captures and the floor with the benchmarks, whether or not those are built.
add_executable(allocations_test ${CMAKE_CURRENT_LIST_DIR}/allocations_test.cpp
               ${PROJECT_SOURCE_DIR}/benchmarks/Floor.cpp ${PROJECT_SOURCE_DIR}/benchmarks/Capture.cpp)
target_compile_definitions(allocations_test PRIVATE ZSL_VENDOR_LIBRARIES="$<TARGET_FILE_DIR:zocamera_adapter>")
target_link_libraries(allocations_test PRIVATE desk_loader com.nexaro.zsl.motion cutils log utils com.nexaro.debug
                      com.nexaro.metadatautils zocamera_hal_core GTest::gtest_main)
set_target_properties(allocations_test PROPERTIES ENABLE_EXPORTS ON)
add_dependencies(allocations_test zocamera_adapter)
add_test(NAME allocations COMMAND allocations_test)
