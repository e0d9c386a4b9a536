#include <event2/buffer.h>

#include "benchmarks/buffer.h"

namespace bench {
namespace {

class Evbuffer {
 public:
  Evbuffer() = default;
  Evbuffer(const Evbuffer&) = delete;
  Evbuffer& operator=(const Evbuffer&) = delete;
  ~Evbuffer() { evbuffer_free(buffer_); }

  void Push(const void* data, size_t size) {
    evbuffer_add(buffer_, data, size);
  }
  size_t Pop(void* dest, size_t size) {
    return static_cast<size_t>(evbuffer_remove(buffer_, dest, size));
  }

 private:
  evbuffer* const buffer_ = evbuffer_new();
};

const Registration kAll([] { AddQueue<Evbuffer>("libevent"); });

}  // namespace
}  // namespace bench
