#pragma once

#include <QString>

#include <string_view>

/// What a control says of the camera setting behind it, from the catalogue: its meaning and, for numbers, unit and
/// limits. `path` is any setting's, public or internal; throws ArgumentInvalidException for another text.
[[nodiscard]] QString settingToolTip(std::string_view path);

template <class X>
[[nodiscard]] QString settingToolTip() {
    return settingToolTip(X::path);
}
