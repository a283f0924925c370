# The interface target `ombrix_napi`: Node-API and node-addon-api headers with
# the module's Node-API settings. Both come from npm packages, found the way
# Node finds them (a package installed into an app has them hoisted beside it,
# or in pnpm's store): no header download at build time.
find_program(OMBRIX_NODE_EXECUTABLE NAMES node nodejs)
if(NOT OMBRIX_NODE_EXECUTABLE)
  message(FATAL_ERROR "node was not found: it locates node-api-headers and node-addon-api")
endif()
execute_process(
  COMMAND "${OMBRIX_NODE_EXECUTABLE}" "${CMAKE_CURRENT_LIST_DIR}/napi_paths.js" "${CMAKE_SOURCE_DIR}"
  OUTPUT_VARIABLE OMBRIX_NAPI_PATHS
  ERROR_VARIABLE napi_error
  RESULT_VARIABLE napi_result)
if(NOT napi_result EQUAL 0)
  message(FATAL_ERROR "node-api-headers or node-addon-api cannot be resolved from ${CMAKE_SOURCE_DIR}: "
                      "run `npm install` first\n${napi_error}")
endif()
list(GET OMBRIX_NAPI_PATHS 0 OMBRIX_NAPI_INCLUDE_DIR)
list(GET OMBRIX_NAPI_PATHS 1 OMBRIX_NODE_ADDON_API_DIR)
list(GET OMBRIX_NAPI_PATHS 2 OMBRIX_NAPI_DEF)

add_library(ombrix_napi INTERFACE)
target_include_directories(ombrix_napi SYSTEM INTERFACE
  "${OMBRIX_NAPI_INCLUDE_DIR}" "${OMBRIX_NODE_ADDON_API_DIR}")
# A JS exception raised while a worker is being terminated cannot be thrown;
# without SWALLOW, node-addon-api turns that into a C++ exception escaping a
# thread-safe function's call-back, which ends the whole process.
# With CPP_EXCEPTIONS_ALL any C++ exception escaping a native function (the
# SDK may throw from whatever the module calls) becomes a JavaScript error
# instead of ending the process in std::terminate.
target_compile_definitions(ombrix_napi INTERFACE
  NAPI_VERSION=8 NAPI_CPP_EXCEPTIONS NODE_ADDON_API_CPP_EXCEPTIONS_ALL
  NODE_API_SWALLOW_UNTHROWABLE_EXCEPTIONS
  NODE_ADDON_API_DISABLE_DEPRECATED BUILDING_NODE_EXTENSION)
if(APPLE)
  target_link_options(ombrix_napi INTERFACE -undefined dynamic_lookup)
elseif(WIN32)
  include("${CMAKE_CURRENT_LIST_DIR}/ombrix_napi_windows.cmake")
endif()
