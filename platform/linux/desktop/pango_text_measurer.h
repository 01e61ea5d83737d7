// Text measurement with Pango: word-wrapped (breaking inside a word only when
// the word alone is wider than the line) at the given width, in the desktop's
// user-interface font family at the given size and weight. A point is a logical
// pixel, as everywhere in the window services, so sizes are absolute pixel sizes.
// Works without a display (fontconfig fonts through cairo).
#pragma once

#include <pango/pango.h>

#include "base/c_owner.h"
#include "platform/text_measurer.h"

namespace quillon {

using FontDescriptionPtr = COwner<PangoFontDescription, pango_font_description_free>;

// The system user-interface font as a Pango description, shared with the alert's labels.
FontDescriptionPtr systemFontDescription(const SystemFont& font);

class PangoTextMeasurer final : public TextMeasurer {
 public:
  double heightOf(std::string_view text, double width, const SystemFont& font) override;
};

}  // namespace quillon
