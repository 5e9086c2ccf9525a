#pragma once

#include "Interfaces/GlobalModel.h"

#include <functional>
#include <type_traits>
#include <utility>

/// The host's numbers for the state of the stage, as CPlayController::GetGlobalPlayState returns them.
namespace PlayState {
enum State : int {
    Playing = 0,
    Paused = 1,
    Stopped = 2,
};
} // namespace PlayState

// The host's models.
// - The host owns them, and they exist longer than the controller. GetInstance and the like only return a pointer, so
//   fetch a model where it is used.
// - Within one callback of a channel, all models return values of the same state of the show. Don't store values for a
//   later callback: the host may have changed the show by then.
// - A host may lack any of the models. Values of a missing model are read as empty values.

/// Calls a function, usually a getter, with the model. Returns its result, or an empty value if the model is null.
template <class Model, class Read, class... Args>
auto ReadFrom(const Model& model, Read&& read, Args&&... args)
{
    using Value = std::decay_t<std::invoke_result_t<Read, decltype(*model), Args...>>;
    return model ? Value(std::invoke(std::forward<Read>(read), *model, std::forward<Args>(args)...)) : Value();
}

/// Returns the model that a getter of the global model returns, or null if either model is missing.
template <class Getter>
auto GetModel(Getter get)
{
    return ReadFrom(CGlobalModel::GetInstance(), get);
}
