# A vendor SDK in OMBRIX_SDK_DIR, laid out as vendors ship one: include/ombrix/
# (the contract headers) and lib/ (libombrix_shared.so, libombrix_shared.dylib,
# or ombrix_shared.dll with its import library; the DLL may sit in bin/). A
# vendor shipping several architectures has a folder per architecture in lib/
# (x64/, arm64/), looked in first for the one built for. Its
# headers and library replace the substitute's, none of whose sources is
# compiled. The target `ombrix_shared` is the vendor library, and
# OMBRIX_VENDOR_RUNTIME lists the files the module needs beside itself at run
# time (the module finds its SDK next to itself).
get_filename_component(sdk "${OMBRIX_SDK_DIR}" ABSOLUTE)
if(NOT EXISTS "${sdk}/include/ombrix/ombrix.h")
  message(FATAL_ERROR "OMBRIX_SDK_DIR=${sdk} has no include/ombrix/ombrix.h")
endif()
# Absolute paths inside the vendor folder, also when cross-compiling.
set(find_here NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
# Named as Node names architectures (prebuilds/ does the same).
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64|ARM64)$")
  set(arch arm64)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  set(arch x64)
else()
  set(arch "${CMAKE_SYSTEM_PROCESSOR}")
endif()
find_library(OMBRIX_VENDOR_LIBRARY NAMES ombrix_shared PATHS "${sdk}/lib/${arch}" "${sdk}/lib" ${find_here})
if(NOT OMBRIX_VENDOR_LIBRARY)
  message(FATAL_ERROR "OMBRIX_SDK_DIR=${sdk}: no ombrix_shared library in lib/${arch}/ or lib/")
endif()
get_filename_component(lib_dir "${OMBRIX_VENDOR_LIBRARY}" DIRECTORY)

add_library(ombrix_shared SHARED IMPORTED GLOBAL)
set_target_properties(ombrix_shared PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${sdk}/include")
if(WIN32)
  find_file(OMBRIX_VENDOR_DLL NAMES ombrix_shared.dll PATHS "${sdk}/bin/${arch}" "${sdk}/bin" "${lib_dir}" "${sdk}/lib"
            ${find_here})
  if(NOT OMBRIX_VENDOR_DLL)
    message(FATAL_ERROR "OMBRIX_SDK_DIR=${sdk}: no ombrix_shared.dll in bin/ or lib/")
  endif()
  set_target_properties(ombrix_shared PROPERTIES
    IMPORTED_IMPLIB "${OMBRIX_VENDOR_LIBRARY}" IMPORTED_LOCATION "${OMBRIX_VENDOR_DLL}")
  set(OMBRIX_VENDOR_RUNTIME "${OMBRIX_VENDOR_DLL}")
else()
  set_target_properties(ombrix_shared PROPERTIES IMPORTED_LOCATION "${OMBRIX_VENDOR_LIBRARY}")
  # The library and every versioned name of it: the module asks for its soname.
  file(GLOB OMBRIX_VENDOR_RUNTIME "${lib_dir}/libombrix_shared.so*" "${lib_dir}/libombrix_shared*.dylib")
endif()
message(STATUS "Vendor SDK: ${OMBRIX_VENDOR_LIBRARY}")
