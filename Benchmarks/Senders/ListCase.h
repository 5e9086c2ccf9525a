#pragma once

#include "HostModels/HostModels.h"
#include "Senders/Case.h"
#include "Senders/CountingChannels.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Returns the case "name/count" of a query without keys that is answered with a list. read receives each item of the
/// module's reply once; byHand and direct write the reply from these items.
template <class Item, class Read>
SCase ListCase(const std::string& name, int code, int count, double aim, SShow show, Read read,
               QByteArray (*byHand)(const std::vector<Item>&), QByteArray (*direct)(const std::vector<Item>&) = nullptr)
{
    const auto ask = [code] { Ask(code, "{}"); };
    const auto items = std::make_shared<std::vector<Item>>();
    SCase measured = {name + '/' + std::to_string(count),
                      count,
                      aim,
                      [show = std::move(show)] { HostModels::Show().Load(show); },
                      ask,
                      [=] {
                          if (items->empty())
                              *items = read(CountingChannels::BodiesSentBy(ask).back());
                          return byHand(*items);
                      }};
    if (direct)
        measured.direct = [=] { return direct(*items); };
    return measured;
}
