# Finds OpenCV's core and imgproc as the targets opencv_core and opencv_imgproc.
#
# Debian ships OpenCV's own package configuration with the whole of OpenCV only (libopencv-dev, which
# brings along a desktop). This file is content with libopencv-core-dev and libopencv-imgproc-dev, and
# prefers the configuration where there is one.

find_package(OpenCV CONFIG QUIET COMPONENTS ${OpenCV_FIND_COMPONENTS})
if(OpenCV_FOUND)
  return()
endif()

find_path(OpenCV_INCLUDE_DIR opencv2/core/version.hpp PATH_SUFFIXES opencv4)
mark_as_advanced(OpenCV_INCLUDE_DIR)
if(OpenCV_INCLUDE_DIR)
  file(STRINGS "${OpenCV_INCLUDE_DIR}/opencv2/core/version.hpp" lines
    REGEX "#define CV_VERSION_(MAJOR|MINOR|REVISION)")
  string(REGEX MATCHALL "[0-9]+" numbers "${lines}")
  list(JOIN numbers "." OpenCV_VERSION)
endif()

set(libraries)
foreach(component IN LISTS OpenCV_FIND_COMPONENTS)
  find_library(OpenCV_${component}_LIBRARY opencv_${component})
  mark_as_advanced(OpenCV_${component}_LIBRARY)
  list(APPEND libraries OpenCV_${component}_LIBRARY)
endforeach()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(OpenCV
  REQUIRED_VARS ${libraries} OpenCV_INCLUDE_DIR VERSION_VAR OpenCV_VERSION)

if(OpenCV_FOUND)
  set(OpenCV_INCLUDE_DIRS "${OpenCV_INCLUDE_DIR}")
  foreach(component IN LISTS OpenCV_FIND_COMPONENTS)
    if(NOT TARGET opencv_${component})
      add_library(opencv_${component} UNKNOWN IMPORTED)
      set_target_properties(opencv_${component} PROPERTIES
        IMPORTED_LOCATION "${OpenCV_${component}_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${OpenCV_INCLUDE_DIR}")
    endif()
  endforeach()
endif()
