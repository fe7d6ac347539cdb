include(CMakeFindDependencyMacro)

list(APPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR})
find_dependency(OpenCV COMPONENTS core imgproc)
list(POP_BACK CMAKE_MODULE_PATH)

include(${CMAKE_CURRENT_LIST_DIR}/MediaConversionTargets.cmake)
