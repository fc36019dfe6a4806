#pragma once

#include "vorta/common/setting.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace Vorta::Detail {

/// The settings of `Owner` at run time: their descriptions and their access by text, all made from its list `All`.
template <class Owner>
class SettingTable {
public:
    struct Access {
        std::string (*text)(const Owner&);
        void (*set)(Owner&, std::string_view text);
    };

    static const SettingTable& instance() {
        static const SettingTable table;
        return table;
    }

    [[nodiscard]] std::span<const SettingDescription> descriptions() const noexcept { return descriptions_; }
    [[nodiscard]] std::span<const SettingGroupDescription> groups() const noexcept { return groups_; }

    /// nullptr when the path is no setting.
    [[nodiscard]] const Access* find(std::string_view path) const {
        const auto found = std::ranges::find(descriptions_, path, &SettingDescription::path);
        return found == descriptions_.end() ? nullptr
                                            : &access_[static_cast<std::size_t>(found - descriptions_.begin())];
    }

private:
    SettingTable() {
        // The descriptions refer to these texts, so they must not move any more.
        texts_.reserve(2 * std::tuple_size_v<typename Owner::All>);
        const auto addAll = [this]<class... X>(const std::tuple<X...>*) { (add<X>(), ...); };
        addAll(static_cast<const typename Owner::All*>(nullptr));
        const auto addGroups = [this]<class... G>(const std::tuple<G...>*) {
            (groups_.push_back({.path = G::path, .name = G::name, .meaning = G::meaning}), ...);
        };
        addGroups(static_cast<const typename Owner::Groups*>(nullptr));
    }

    template <class X>
    void add() {
        std::string_view unit;
        if constexpr (requires { X::traits.unit; })
            unit = X::traits.unit;
        const std::string& defaultText = texts_.emplace_back(X().toString());
        const std::string& accepted = texts_.emplace_back(X::accepted());
        descriptions_.push_back({.path = X::path,
                                 .name = X::name,
                                 .type = typeName<typename X::Value>(),
                                 .unit = unit,
                                 .defaultText = defaultText,
                                 .accepted = accepted,
                                 .meaning = X::traits.meaning,
                                 .choices = choicesOf(X::traits)});
        access_.push_back({.text = [](const Owner& owner) { return owner.template get<X>().toString(); },
                           .set = [](Owner& owner, std::string_view text) { owner.set(X::fromString(text)); }});
    }

    std::vector<std::string> texts_;
    std::vector<SettingDescription> descriptions_;
    std::vector<SettingGroupDescription> groups_;
    std::vector<Access> access_;
};

} // namespace Vorta::Detail
