#include "Common_CPP/trace/rule_levels.h"

#include "Common_CPP/trace/text_builder.h"

namespace kx {

LevelText::LevelText(const LevelRange& levels) noexcept
{
    TextBuilder text(_m_text, sizeof _m_text);
    if (levels.all)
        text.Append("all");
    else if (levels.first == levels.last)
        text.AppendUnsigned(levels.first);
    else
        text.AppendUnsigned(levels.first).Append("-").AppendUnsigned(levels.last);
    _m_size = text.View().size();
}

} // namespace kx
