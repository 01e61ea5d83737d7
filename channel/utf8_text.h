// Text as the channel carries it: UTF-8, as the Dart side reads it. U+0000 is a
// character like any other; overlong forms, surrogates, code points beyond
// U+10FFFF and cut sequences are not text.
#pragma once

#include <string>
#include <string_view>

namespace quillon {

bool isUtf8Text(std::string_view bytes);

// `bytes` with U+FFFD in place of each byte that starts no well-formed sequence;
// text stays as it is.
std::string toUtf8Text(std::string_view bytes);

}  // namespace quillon
