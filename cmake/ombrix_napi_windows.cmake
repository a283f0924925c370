# Windows addons import Node-API from the host executable. The import library
# is made from node-api-headers' export list and names the host "node.exe":
# with MinGW-w64's dlltool, or with Microsoft's librarian (lib.exe) under
# Visual Studio's compiler. With OMBRIX_NAPI_DELAY_LOAD (the default) the
# imports are delay-loaded and a hook resolves "node.exe" to whatever
# executable runs the process, so the addons also load in a host with another
# name (an Electron app).
option(OMBRIX_NAPI_DELAY_LOAD "Delay-load Node-API from the host executable" ON)
set(napi_def "${OMBRIX_NAPI_DEF}")
file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/napi")

if(MSVC)
  # Written for Microsoft's toolchain, which cannot run here: untested.
  set(napi_import "${CMAKE_BINARY_DIR}/napi/node.lib")
  add_custom_command(OUTPUT "${napi_import}"
    COMMAND "${CMAKE_AR}" /nologo "/def:${napi_def}" /name:node.exe
            "/machine:${CMAKE_CXX_COMPILER_ARCHITECTURE_ID}" "/out:${napi_import}"
    DEPENDS "${napi_def}"
    COMMENT "Node-API import library for node.exe"
    VERBATIM)
  add_custom_target(ombrix_napi_imports DEPENDS "${napi_import}")
  add_dependencies(ombrix_napi ombrix_napi_imports)
  target_link_libraries(ombrix_napi INTERFACE "${napi_import}")
  if(OMBRIX_NAPI_DELAY_LOAD)
    target_link_libraries(ombrix_napi INTERFACE delayimp)
    target_link_options(ombrix_napi INTERFACE /DELAYLOAD:node.exe)
  endif()
else()
  if(NOT CMAKE_DLLTOOL)
    find_program(CMAKE_DLLTOOL NAMES x86_64-w64-mingw32-dlltool dlltool REQUIRED)
  endif()
  set(napi_import "${CMAKE_BINARY_DIR}/napi/libnode.a")
  set(napi_delay_import "${CMAKE_BINARY_DIR}/napi/libnode_delay.a")
  add_custom_command(OUTPUT "${napi_import}" "${napi_delay_import}"
    COMMAND "${CMAKE_DLLTOOL}" -d "${napi_def}" -D node.exe -l "${napi_import}"
    COMMAND "${CMAKE_DLLTOOL}" -d "${napi_def}" -D node.exe -y "${napi_delay_import}"
    DEPENDS "${napi_def}"
    COMMENT "Node-API import libraries for node.exe"
    VERBATIM)
  add_custom_target(ombrix_napi_imports DEPENDS "${napi_import}" "${napi_delay_import}")
  add_dependencies(ombrix_napi ombrix_napi_imports)
  # dlltool's delay-load import library carries the delay-load helper itself.
  target_link_libraries(ombrix_napi INTERFACE
    "$<IF:$<BOOL:${OMBRIX_NAPI_DELAY_LOAD}>,${napi_delay_import},${napi_import}>")
endif()

if(OMBRIX_NAPI_DELAY_LOAD)
  target_sources(ombrix_napi INTERFACE
    "${CMAKE_CURRENT_LIST_DIR}/../addon/src/platform/win/host_module_hook.cc")
endif()
