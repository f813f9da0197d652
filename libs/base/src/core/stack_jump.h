// How a throw leaves the stack segments of deep recursion (norvane/base/deep.hpp) behind.
#ifndef NORVANE_BASE_STACK_JUMP_H
#define NORVANE_BASE_STACK_JUMP_H

namespace norvane::deep {

// Makes the stack that holds `address` the current one and calls jump(user) on it, below all that
// is still in use there. So the jump itself is one within a stack, of the kind that sanitizers and
// hardened C libraries accept. `jump` does not return.
[[noreturn]] void jump_on_stack_of(const void* address, void (*jump)(void*), void* user);

} // namespace norvane::deep

#endif
