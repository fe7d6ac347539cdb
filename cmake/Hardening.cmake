# Makes what is built harder to take over by a fault in it, at no cost that can be measured. For all
# targets of this project; a project that this one is part of decides for itself.
#
# Everything goes before the user's own flags, so that those win.

include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)
include(CheckPIESupported)

# Programs are loaded anywhere, as libraries are.
check_pie_supported(LANGUAGES CXX)

set(userFlags "${CMAKE_CXX_FLAGS}")
set(hardening)
foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection -fcf-protection)
  string(MAKE_C_IDENTIFIER "has${flag}" isKnown)
  check_cxx_compiler_flag(${flag} ${isKnown})
  if(${isKnown})
    string(APPEND hardening "${flag} ")
  endif()
endforeach()
string(PREPEND CMAKE_CXX_FLAGS "${hardening}")

# The linker drops the marks of -fcf-protection because the C library's start-up files have none, and
# a process that wants them refuses such a plug-in. Those files keep to a shadow stack all the same.
# Their _init and _fini have no landing place for jumps: libraries are linked so that nobody calls
# them. A program's _start has none either, so programs do not get that mark.
check_linker_flag(CXX "-Wl,--fatal-warnings,-z,ibt,-z,shstk" canMark)
if(canMark AND has_fcf_protection AND NOT userFlags MATCHES "-fcf-protection")
  string(PREPEND CMAKE_EXE_LINKER_FLAGS "-Wl,-z,shstk ")
  foreach(kind IN ITEMS SHARED MODULE)
    string(PREPEND CMAKE_${kind}_LINKER_FLAGS "-Wl,-z,shstk,-z,ibt,-init=none,-fini=none ")
  endforeach()
endif()

# Checked forms of the C library's functions. They need an optimiser, and sanitisers have their own.
if(NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE|-fsanitize")
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 12)
    set(fortifyLevel 3)
  else()
    set(fortifyLevel 2)
  endif()
  foreach(config IN ITEMS RELEASE RELWITHDEBINFO MINSIZEREL)
    string(PREPEND CMAKE_CXX_FLAGS_${config} "-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${fortifyLevel} ")
  endforeach()
endif()

# Containers check their indices.
string(PREPEND CMAKE_CXX_FLAGS_DEBUG "-D_GLIBCXX_ASSERTIONS ")

# Addresses of functions are looked up at once and then write-protected; no stack is run as code.
foreach(kind IN ITEMS EXE SHARED MODULE)
  string(PREPEND CMAKE_${kind}_LINKER_FLAGS "-Wl,-z,relro,-z,now,-z,noexecstack ")
endforeach()
