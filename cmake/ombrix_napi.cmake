# The interface target `ombrix_napi`: Node-API and node-addon-api headers with
# the module's Node-API settings. Expects OMBRIX_NODE_MODULES.
# Node-API comes from npm packages only: no header download at build time.
foreach(dep node-api-headers node-addon-api)
  if(NOT EXISTS "${OMBRIX_NODE_MODULES}/${dep}")
    message(FATAL_ERROR "${dep} is missing: run `npm install` first")
  endif()
endforeach()
add_library(ombrix_napi INTERFACE)
target_include_directories(ombrix_napi SYSTEM INTERFACE
  "${OMBRIX_NODE_MODULES}/node-api-headers/include"
  "${OMBRIX_NODE_MODULES}/node-addon-api")
# A JS exception raised while a worker is being terminated cannot be thrown;
# without SWALLOW, node-addon-api turns that into a C++ exception escaping a
# thread-safe function's call-back, which ends the whole process.
target_compile_definitions(ombrix_napi INTERFACE
  NAPI_VERSION=8 NAPI_CPP_EXCEPTIONS NODE_API_SWALLOW_UNTHROWABLE_EXCEPTIONS
  NODE_ADDON_API_DISABLE_DEPRECATED BUILDING_NODE_EXTENSION)
if(APPLE)
  target_link_options(ombrix_napi INTERFACE -undefined dynamic_lookup)
elseif(WIN32)
  include("${CMAKE_CURRENT_LIST_DIR}/ombrix_napi_windows.cmake")
endif()
