// Window titles in the terms GuiTool uses on Windows: UTF-8 here, cut to the
// 255 UTF-16 units a Windows title holds. X11 titles come in several
// encodings, and a client's bytes are not always what their type says.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ombrix_addon::x11 {

std::string Latin1ToUtf8(std::string_view text);
// Each maximal ill-formed subsequence becomes one U+FFFD, as decoders on the
// web replace them.
std::string ValidUtf8(std::string_view text);
// Whole characters only: one beyond the Basic Multilingual Plane takes two
// units. `utf8` must be valid.
std::string CutToUtf16Units(const std::string& utf8, size_t units);

}  // namespace ombrix_addon::x11
