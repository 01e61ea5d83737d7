#include "platform/linux/desktop/pango_text_measurer.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <cstdint>
#include <limits>

#include "platform/linux/desktop/gtk_desktop.h"
#include "platform/linux/desktop/line_break_hints.h"

namespace quillon {

namespace {

PangoWeight pangoWeight(FontWeight weight) {
  switch (weight) {
    case FontWeight::regular:
      return PANGO_WEIGHT_NORMAL;
    case FontWeight::semibold:
      return PANGO_WEIGHT_SEMIBOLD;
    case FontWeight::bold:
      return PANGO_WEIGHT_BOLD;
  }
  return PANGO_WEIGHT_NORMAL;
}

// Pango units are ints; a width beyond their range means "no wrapping".
int pangoWidth(double width) {
  const double units = width * PANGO_SCALE;
  if (!(units < static_cast<double>(std::numeric_limits<int>::max()))) return -1;
  return units < 1.0 ? 1 : static_cast<int>(units);
}

}  // namespace

FontDescriptionPtr systemFontDescription(const SystemFont& font) {
  FontDescriptionPtr description(pango_font_description_new());
  pango_font_description_set_family(description.get(), systemFontFamily().c_str());
  pango_font_description_set_absolute_size(description.get(), font.size * PANGO_SCALE);
  pango_font_description_set_weight(description.get(), pangoWeight(font.weight));
  return description;
}

double PangoTextMeasurer::heightOf(std::string_view text, double width, const SystemFont& font) {
  // Pango defines no g_autoptr for a context.
  const COwner<PangoContext, g_object_unref> context(pango_font_map_create_context(pango_cairo_font_map_get_default()));
  g_autoptr(PangoLayout) layout = pango_layout_new(context.get());
  const FontDescriptionPtr description = systemFontDescription(font);
  pango_layout_set_font_description(layout, description.get());
  pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
  pango_layout_set_width(layout, pangoWidth(width));
  const std::string shown = withLineBreakHints(text);
  pango_layout_set_text(layout, shown.data(), static_cast<int>(std::min<std::size_t>(shown.size(), INT32_MAX)));
  PangoRectangle logical{};
  pango_layout_get_extents(layout, nullptr, &logical);
  return static_cast<double>(logical.height) / PANGO_SCALE;
}

}  // namespace quillon
