// How a throw leaves the stack segments of deep recursion (norvane/base/deep.hpp).
#ifndef NORVANE_BASE_STACK_JUMP_H
#define NORVANE_BASE_STACK_JUMP_H

namespace norvane::deep {

// Switches to the stack that contains `address` and calls jump(user) there, below the frames that
// are in use, so that the longjmp stays within one stack, as sanitizers and hardened C libraries
// require. `jump` does not return.
[[noreturn]] void jump_on_stack_of(const void* address, void (*jump)(void*), void* user);

// False if the address is known to be on no stack of the calling thread.
bool may_jump_to(const void* address);

} // namespace norvane::deep

#endif
