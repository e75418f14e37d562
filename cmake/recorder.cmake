# The recorder: a plug-in of its own, with a hidden copy of the contract's classes.
add_library(com.nexaro.zsl.motion.recorder SHARED
  api/ZSLFrameRecords.cpp
  api/ZSLSelectorBase.cpp
  external/odm/policy/zsl/mtk/ZSLSelectorExt.cpp
  recorder/CaseFile.cpp
  recorder/Entry.cpp
  recorder/RecordedQueue.cpp
  recorder/Recorder.cpp
  recorder/RecordingSelector.cpp)
set(recorder_map ${PROJECT_SOURCE_DIR}/com.nexaro.zsl.motion.recorder.map)
set_target_properties(com.nexaro.zsl.motion.recorder PROPERTIES PREFIX "" LINK_DEPENDS ${recorder_map})
target_include_directories(com.nexaro.zsl.motion.recorder PRIVATE ${PROJECT_SOURCE_DIR})
target_link_options(com.nexaro.zsl.motion.recorder PRIVATE -Wl,--version-script=${recorder_map} -Wl,-z,now
                    -Wl,--as-needed)
target_link_libraries(com.nexaro.zsl.motion.recorder PRIVATE zsl_flags cutils log utils com.nexaro.debug
                      com.nexaro.metadatautils zocamera_hal_core ${CMAKE_DL_LIBS})
