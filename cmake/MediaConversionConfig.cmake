include(CMakeFindDependencyMacro)

# A project that has found OpenCV for itself keeps what it has found, which may be more of it.
if(NOT TARGET opencv_core OR NOT TARGET opencv_imgproc)
  list(APPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR})
  find_dependency(OpenCV COMPONENTS core imgproc)
  list(POP_BACK CMAKE_MODULE_PATH)
endif()

include(${CMAKE_CURRENT_LIST_DIR}/MediaConversionTargets.cmake)
