#pragma once

#include "HostModels/HostModels.h"
#include "Senders/Case.h"
#include "Senders/CountingChannels.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Returns the case "name/count" of a query without keys that is answered with a list. read receives each item of the
/// module's reply once; byHand writes the reply from these items.
template <class Item, class Read>
SCase ListCase(const std::string& name, int code, int count, SShow show, Read read,
               QByteArray (*byHand)(const std::vector<Item>&))
{
    constexpr double kAim = 1.2;
    const auto ask = [code] { Ask(code, "{}"); };
    const auto items = std::make_shared<std::vector<Item>>();
    return {name + '/' + std::to_string(count),
            count,
            kAim,
            [show = std::move(show)] { HostModels::Show().Load(show); },
            ask,
            [=] {
                if (items->empty())
                    *items = read(CountingChannels::BodiesSentBy(ask).back());
                return byHand(*items);
            }};
}
