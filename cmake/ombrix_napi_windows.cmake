# Windows addons import Node-API from the host executable. The import library
# is made from node-api-headers' export list and names the host "node.exe".
# With OMBRIX_NAPI_DELAY_LOAD (the default) the imports are delay-loaded and a
# hook resolves "node.exe" to whatever executable runs the process, so the
# addons also load in a host with another name (an Electron app).
option(OMBRIX_NAPI_DELAY_LOAD "Delay-load Node-API from the host executable" ON)
if(NOT CMAKE_DLLTOOL)
  find_program(CMAKE_DLLTOOL NAMES x86_64-w64-mingw32-dlltool dlltool REQUIRED)
endif()

set(napi_def "${OMBRIX_NAPI_DEF}")
set(napi_import "${CMAKE_BINARY_DIR}/napi/libnode.a")
set(napi_delay_import "${CMAKE_BINARY_DIR}/napi/libnode_delay.a")
add_custom_command(OUTPUT "${napi_import}" "${napi_delay_import}"
  COMMAND "${CMAKE_COMMAND}" -E make_directory "${CMAKE_BINARY_DIR}/napi"
  COMMAND "${CMAKE_DLLTOOL}" -d "${napi_def}" -D node.exe -l "${napi_import}"
  COMMAND "${CMAKE_DLLTOOL}" -d "${napi_def}" -D node.exe -y "${napi_delay_import}"
  DEPENDS "${napi_def}"
  COMMENT "Node-API import libraries for node.exe"
  VERBATIM)
add_custom_target(ombrix_napi_imports DEPENDS "${napi_import}" "${napi_delay_import}")
add_dependencies(ombrix_napi ombrix_napi_imports)

if(OMBRIX_NAPI_DELAY_LOAD)
  target_sources(ombrix_napi INTERFACE
    "${CMAKE_CURRENT_LIST_DIR}/../addon/src/platform/win/host_module_hook.cc")
  target_link_libraries(ombrix_napi INTERFACE "${napi_delay_import}")
else()
  target_link_libraries(ombrix_napi INTERFACE "${napi_import}")
endif()
