#include "benchmarks/buffer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>

#include "vellix/sysutils_buffer.h"

namespace bench {
namespace {

class Vellix : public QuorlBased::CDataBuffer2 {
 public:
  Vellix() : CDataBuffer2(false) {}
};

// The floor: a block of the heap for each push, in a standard queue.
class Blocks {
 public:
  Blocks() = default;
  Blocks(const Blocks&) = delete;
  Blocks& operator=(const Blocks&) = delete;
  ~Blocks() {
    for (const Node& node : nodes_) free(node.data);
  }

  void Push(const void* data, size_t size) {
    nodes_.push_back({memcpy(malloc(size), data, size), 0, size});
  }

  size_t Pop(void* dest, size_t size) {
    size_t taken = 0;
    while (taken < size && !nodes_.empty()) {
      Node& front = nodes_.front();
      const size_t bytes = std::min(front.length - front.offset, size - taken);
      memcpy(static_cast<char*>(dest) + taken,
             static_cast<char*>(front.data) + front.offset, bytes);
      taken += bytes;
      front.offset += bytes;
      if (front.offset < front.length) break;
      free(front.data);
      nodes_.pop_front();
    }
    return taken;
  }

 private:
  struct Node {
    void* data;
    size_t offset;
    size_t length;
  };
  std::deque<Node> nodes_;
};

const Registration kAll([] {
  AddQueue<Vellix>("vellix");
  AddQueue<Blocks>("blocks");
});

}  // namespace
}  // namespace bench
