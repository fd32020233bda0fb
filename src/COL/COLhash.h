// The hash functions of the system's tables: COLlookupHash<T>::defaultHash for COLlookupList
// and COLhashFunc<T> for COLrefHashTable.  Only iteration order rests on them; nothing that
// persists may.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <functional>
#include <type_traits>

#include "COLstring.h"

uint32_t COLlookupStringHash(const char* text, size_t length);

template <class T>
struct COLlookupHash {
  // Integers, enums and pointers: each byte of the value in memory order, the sum rotated
  // left by 5 before the byte is mixed in.  Other types fall back to std::hash.
  static uint32_t defaultHash(const T& key) {
    if constexpr (std::is_integral_v<T> || std::is_enum_v<T> || std::is_pointer_v<T>) {
      unsigned char bytes[sizeof(T)];
      std::memcpy(bytes, &key, sizeof(T));
      uint32_t h = 0;
      for (unsigned char byte : bytes) h = std::rotl(h, 5) ^ byte;
      return h;
    } else {
      return static_cast<uint32_t>(std::hash<T>()(key));
    }
  }
  uint32_t operator()(const T& key) const { return defaultHash(key); }
};

template <>
struct COLlookupHash<COLstring> {
  static uint32_t defaultHash(const COLstring& key) { return COLlookupStringHash(key.data(), key.size()); }
  uint32_t operator()(const COLstring& key) const { return defaultHash(key); }
};

template <class T>
struct COLhashFunc {
  uint32_t operator()(const T& key) const {
    if constexpr (std::is_pointer_v<T>) {
      return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(key));
    } else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>) {
      const uint64_t value = static_cast<uint64_t>(key);
      return static_cast<uint32_t>(value) ^ static_cast<uint32_t>(value >> 32);
    } else {
      return static_cast<uint32_t>(std::hash<T>()(key));
    }
  }
};

// Strings shorter than 2 bytes hash to 123432; otherwise last, second last, second and first
// byte (as signed chars) are packed in that order.
template <>
struct COLhashFunc<COLstring> {
  uint32_t operator()(const COLstring& key) const {
    const size_t n = key.size();
    if (n < 2) return 123432;
    auto byte = [&](size_t i) { return static_cast<uint32_t>(static_cast<int32_t>(static_cast<signed char>(key[i]))); };
    uint32_t h = (byte(n - 1) << 8) + byte(n - 2);
    h = (h << 8) + byte(1);
    h = (h << 8) + byte(0);
    return h;
  }
};

// The two 32-bit halves xor-ed.
inline uint32_t COLhashFuncCOLint64(int64_t value) {
  const uint64_t bits = static_cast<uint64_t>(value);
  return static_cast<uint32_t>(bits) ^ static_cast<uint32_t>(bits >> 32);
}
