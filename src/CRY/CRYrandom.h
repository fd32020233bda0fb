// CRYrandom: random bytes for keys and identifiers.  It reads the system's random device
// when it can (a strong generator) and falls back on the C library's rand() (a weak one);
// callers that need strength ask isStrongRng() first.
#pragma once

#include <cstddef>
#include <memory>

class CRYrandomGenerator {
public:
  virtual ~CRYrandomGenerator() = default;
  virtual bool isStrongRng() const = 0;
  virtual void seed(const void* data, size_t size) = 0;
  virtual void generate(void* data, size_t size) = 0;
};

// Reads from an open random device, which it closes when destroyed.
class CRYrandomUnix : public CRYrandomGenerator {
public:
  explicit CRYrandomUnix(int fileDescriptor) : m_FileDescriptor(fileDescriptor) {}
  CRYrandomUnix(const CRYrandomUnix&) = delete;
  CRYrandomUnix& operator=(const CRYrandomUnix&) = delete;
  ~CRYrandomUnix() override;
  bool isStrongRng() const override { return true; }
  // The device mixes its own entropy; a caller's seed adds nothing.
  void seed(const void*, size_t) override {}
  void generate(void* data, size_t size) override;

private:
  int m_FileDescriptor;
};

// The C library's generator, seeded from the clock when made.  Not for secrets.
class CRYrandomLibC : public CRYrandomGenerator {
public:
  CRYrandomLibC();
  bool isStrongRng() const override { return false; }
  // Up to four bytes of the data become the seed.
  void seed(const void* data, size_t size) override;
  void generate(void* data, size_t size) override;
};

class CRYrandom {
public:
  // Opens the device at `devicePath`; if that fails the weak generator serves.
  explicit CRYrandom(const char* devicePath = "/dev/urandom");
  CRYrandom(const CRYrandom&) = delete;
  CRYrandom& operator=(const CRYrandom&) = delete;
  ~CRYrandom();

  bool isStrongRng() const { return m_Generator->isStrongRng(); }
  void seed(const void* data, size_t size) { m_Generator->seed(data, size); }
  void generate(void* data, size_t size) { m_Generator->generate(data, size); }

private:
  std::unique_ptr<CRYrandomGenerator> m_Generator;
};
