#pragma once

#include <utility>

/// Runs a function when the scope is left, on every way out.
template <class Function>
class clsScopeGuard {
  public:
    explicit clsScopeGuard(Function function) : m_function(std::move(function)) {}
    clsScopeGuard(const clsScopeGuard&) = delete;
    clsScopeGuard& operator=(const clsScopeGuard&) = delete;
    ~clsScopeGuard() { m_function(); }

  private:
    Function m_function;
};
