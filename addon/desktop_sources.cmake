# Sources of the desktop helpers (ShmRegion, GuiTool): shared by the module and
# by the Windows compile check (cmake/windows-compile-check).
set(OMBRIX_DESKTOP_SOURCES
  ${CMAKE_CURRENT_LIST_DIR}/src/activate_window_worker.cc
  ${CMAKE_CURRENT_LIST_DIR}/src/gui_tool_wrap.cc
  ${CMAKE_CURRENT_LIST_DIR}/src/shm_region_core.cc
  ${CMAKE_CURRENT_LIST_DIR}/src/shm_region_wrap.cc)
set(OMBRIX_DESKTOP_WIN_SOURCES
  ${CMAKE_CURRENT_LIST_DIR}/src/platform/win/utf16.cc
  ${CMAKE_CURRENT_LIST_DIR}/src/platform/win/win_shm_region_core.cc
  ${CMAKE_CURRENT_LIST_DIR}/src/platform/win/win_window_system.cc
  ${CMAKE_CURRENT_LIST_DIR}/src/platform/win/window_activation.cc)
set(OMBRIX_DESKTOP_POSIX_SOURCES
  ${CMAKE_CURRENT_LIST_DIR}/src/platform/posix/desktop_opener.cc
  ${CMAKE_CURRENT_LIST_DIR}/src/platform/posix/named_mutex.cc
  ${CMAKE_CURRENT_LIST_DIR}/src/platform/posix/posix_shm_region_core.cc
  ${CMAKE_CURRENT_LIST_DIR}/src/platform/posix/posix_window_system.cc
  ${CMAKE_CURRENT_LIST_DIR}/src/platform/posix/shm_name.cc
  ${CMAKE_CURRENT_LIST_DIR}/src/platform/posix/thread_error.cc
  ${CMAKE_CURRENT_LIST_DIR}/src/platform/posix/x11_connection.cc
  ${CMAKE_CURRENT_LIST_DIR}/src/platform/posix/x11_text.cc
  ${CMAKE_CURRENT_LIST_DIR}/src/platform/posix/x11_tree.cc
  ${CMAKE_CURRENT_LIST_DIR}/src/platform/posix/x11_windows.cc
  ${CMAKE_CURRENT_LIST_DIR}/src/platform/posix/xlib_api.cc)
# Windows libraries the desktop helpers call into.
set(OMBRIX_DESKTOP_WIN_LIBRARIES user32 shell32)
