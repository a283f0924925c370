// Window titles from X11 bytes: what a client mislabels is replaced, never
// passed on, and the cap counts what is left in UTF-16 units.
#include "platform/posix/x11_text.h"

#include <gtest/gtest.h>

#include <string>

namespace x11 = ombrix_addon::x11;

namespace {

const std::string kFffd = "\xEF\xBF\xBD";

std::string Times(const std::string& text, int count) {
  std::string out;
  for (int i = 0; i < count; ++i) out += text;
  return out;
}

}  // namespace

TEST(X11Text, WellFormedUtf8PassesUnchanged) {
  const std::string text = "a\xC3\xA9\xE2\x80\x94\xE6\x97\xA5\xF0\x9F\x98\x80";  // aé—日😀
  EXPECT_EQ(x11::ValidUtf8(text), text);
}

TEST(X11Text, EachMaximalIllFormedSubsequenceIsOneReplacement) {
  EXPECT_EQ(x11::ValidUtf8("caf\xE9"), "caf" + kFffd);             // Latin-1
  EXPECT_EQ(x11::ValidUtf8("\xC0\xAF"), kFffd + kFffd);            // overlong lead
  EXPECT_EQ(x11::ValidUtf8("\xE0\x80\xAF"), Times(kFffd, 3));      // overlong three bytes
  EXPECT_EQ(x11::ValidUtf8("\xED\xA0\x80"), Times(kFffd, 3));      // a surrogate
  EXPECT_EQ(x11::ValidUtf8("\xF4\x90\x80\x80"), Times(kFffd, 4));  // past U+10FFFF
  EXPECT_EQ(x11::ValidUtf8("\xE6\x97x"), kFffd + "x");             // cut short, then ASCII
  EXPECT_EQ(x11::ValidUtf8("\xF0\x9F\x98"), kFffd);                // cut short at the end
  EXPECT_EQ(x11::ValidUtf8("\x80\xBF"), kFffd + kFffd);            // lone continuations
}

TEST(X11Text, Latin1BecomesUtf8) {
  EXPECT_EQ(x11::Latin1ToUtf8("caf\xE9 \xFF"), "caf\xC3\xA9 \xC3\xBF");
}

TEST(X11Text, TheCapCountsUtf16UnitsAndKeepsCharactersWhole) {
  EXPECT_EQ(x11::CutToUtf16Units(Times("\xC3\xA9", 300), 255), Times("\xC3\xA9", 255));
  EXPECT_EQ(x11::CutToUtf16Units(Times("\xF0\x9F\x98\x80", 200), 255),
            Times("\xF0\x9F\x98\x80", 127));
  EXPECT_EQ(x11::CutToUtf16Units(x11::ValidUtf8(Times("\xE9", 302)), 255), Times(kFffd, 255));
  EXPECT_EQ(x11::CutToUtf16Units("short", 255), "short");
}
