// SPDX-License-Identifier: MIT
//
// Which sanitizer the tests are built with, for those that measure memory or replace an allocator:
// VENNICK_THREAD_SANITIZED with the thread sanitizer, VENNICK_SANITIZED with that or the address sanitizer.
#ifndef TESTS_SUPPORT_SANITIZERS_H
#define TESTS_SUPPORT_SANITIZERS_H

// clang++ tells by a feature, g++ by a macro of its own.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define VENNICK_THREAD_SANITIZED 1
#endif
#if __has_feature(address_sanitizer)
#define VENNICK_SANITIZED 1
#endif
#endif
#if defined(__SANITIZE_THREAD__)
#define VENNICK_THREAD_SANITIZED 1
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(VENNICK_THREAD_SANITIZED)
#define VENNICK_SANITIZED 1
#endif

#endif  // TESTS_SUPPORT_SANITIZERS_H
