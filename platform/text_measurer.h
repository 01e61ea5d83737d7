// TextMeasurer: the height that a text takes when laid out, word-wrapped, at a
// given width in the system's user-interface font.
#pragma once

#include <string_view>

namespace quillon {

enum class FontWeight { regular, semibold, bold };

// The system user-interface font at `size` points and `weight`.
struct SystemFont {
  double size = 0.0;
  FontWeight weight = FontWeight::regular;

  friend bool operator==(const SystemFont&, const SystemFont&) = default;
};

class TextMeasurer {
 public:
  virtual ~TextMeasurer() = default;
  // The height in points, fractions kept, of `text` wrapped at `width` points.
  virtual double heightOf(std::string_view text, double width, const SystemFont& font) = 0;
};

}  // namespace quillon
