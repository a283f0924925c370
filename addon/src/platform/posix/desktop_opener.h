// Opens a document, folder or link with the desktop's opener (xdg-open).
#pragma once

#include <string>

namespace ombrix_addon {

// True once the opener is started for a URL or an existing path. Its outcome
// is not awaited: it may last as long as the program it opens with. A
// missing path (ENOENT) or opener fails at once and sets the thread's last
// error.
bool OpenWithDesktopOpener(const std::string& target);

}  // namespace ombrix_addon
