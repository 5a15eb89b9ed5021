// The same in C++: a task that ends unwinds the program's own frames.
#include <zatosw/zatosw.h>
#include <cstdio>
#include <stdexcept>

namespace {

bool unwound = false;

struct Held {
    ~Held() { unwound = true; }
};

uint32_t endEarly(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                  uint32_t, uint32_t) {
    Held held;
    try {
        throw std::runtime_error("ends");
    } catch (const std::runtime_error&) {
        zatOSWExitTask(7);
    }
}

}  // namespace

int main() {
    ZatTaskId task = 0;
    uint32_t exitValue = 0;
    if (zatOSWCreateJoinTask(&task, "ends", ZAT_INHERIT_PRIORITY, 32768, endEarly, 1, 0, 0, 0, 0, 0,
                             0, 0, 0, 0, 0) != ZAT_OK ||
        zatOSWWaitJoinableTask(task, 1, &exitValue) != ZAT_OK || exitValue != 7 || !unwound) {
        std::puts("the installed library does not work");
        return 1;
    }
    std::puts(zatStatusText(ZAT_OK));
}
