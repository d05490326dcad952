#pragma once

#include <type_traits>

#include "maths/maths_api.h"

/// Stands where a function from callables has no callable for a derivative. For use inside the library.
struct mlNoCallable {};

/// What can be called with these arguments through a reference to const, and returns a Result. For use inside the
/// library.
template <class Callable, class Result, class... Arguments>
concept mlCallable = std::is_invocable_r_v<Result, Callable const &, Arguments...>;

/// The same, or nothing at all.
template <class Callable, class Result, class... Arguments>
concept mlCallableOrNone =
    std::is_same_v<Callable, mlNoCallable> || std::is_invocable_r_v<Result, Callable const &, Arguments...>;

template <class Callable> inline constexpr bool mlIsCallable = !std::is_same_v<Callable, mlNoCallable>;
