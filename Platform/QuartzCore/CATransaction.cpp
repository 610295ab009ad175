#include "Platform/QuartzCore/CATransaction.h"

#include "Platform/QuartzCore/CATransactionGroup.h"

#include <algorithm>
#include <utility>

CATransactionGroup& CATransactionGroup::current()
{
    static thread_local CATransactionGroup group;
    return group;
}

bool CATransactionGroup::defer(CALayer* layer)
{
    auto& group = current();
    if (group.disabledActions.empty())
        return false;
    if (std::ranges::find(group.changedLayers, layer, &Ref<CALayer>::get) == group.changedLayers.end())
        group.changedLayers.emplace_back(layer);
    return true;
}

void CATransaction::begin()
{
    auto& group = CATransactionGroup::current();
    group.disabledActions.push_back(!group.disabledActions.empty() && group.disabledActions.back());
}

void CATransaction::commit()
{
    auto& group = CATransactionGroup::current();
    if (group.disabledActions.empty())
        return;
    group.disabledActions.pop_back();
    if (!group.disabledActions.empty())
        return;
    for (const auto& layer : std::exchange(group.changedLayers, {}))
        layer->tellHost();
}

void CATransaction::setDisableActions(bool disable)
{
    auto& group = CATransactionGroup::current();
    if (!group.disabledActions.empty())
        group.disabledActions.back() = disable;
}

bool CATransaction::disableActions()
{
    const auto& group = CATransactionGroup::current();
    return !group.disabledActions.empty() && group.disabledActions.back();
}
