#include "tests/tools/master.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include <sys/mman.h>

namespace {

Master* running = nullptr;

constexpr std::size_t pageSize = 4096;
void* const firstRecord = reinterpret_cast<void*>(0x20000000000); ///< each record has a page of its own from here on

} // namespace

thread_local bool Master::inside = false;

const char* nameOf(fmi2Status status) {
    constexpr const char* names[] = {"ok", "warning", "discard", "error", "fatal", "pending"};
    return names[status];
}

std::string message(fmi2Status status, const std::string& category, const std::string& text) {
    return nameOf(status) + (" [" + category + "] ") + text;
}

bool isMessage(const std::string& event) { return event.find(" [") <= std::string("discard").size(); }

Master::Master() : callbacks{log, allocate, release, nullptr, this} { running = this; }

Master::~Master() { running = nullptr; }

std::vector<std::string> Master::takeEvents() { return std::exchange(events_, {}); }

void Master::note(const std::string& event) {
    const InsideMaster guard;
    if (recording) events_.push_back(event);
}

void Master::failAllocation(std::size_t n, std::size_t count) {
    failFrom_ = nAllocations_ + n;
    failTo_ = failFrom_ + count;
}

std::vector<std::string> Master::takeMemoryCalls() {
    freed_ = {};
    return std::exchange(memoryCalls_, {});
}

void Master::log(fmi2ComponentEnvironment environment, fmi2String name, fmi2Status status, fmi2String category,
                 fmi2String format, ...) {
    const InsideMaster guard;
    char text[4096];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);

    std::string event = message(status, category, text);
    if (name == nullptr || name != running->instanceName) event += std::string(" for ") + (name ? name : "(null)");
    if (environment != running) event += " elsewhere";
    running->note(event);
    if (running->whenLogged) running->whenLogged(event);
}

void* Master::allocate(std::size_t count, std::size_t size) {
    const InsideMaster guard;
    const std::size_t n = ++running->nAllocations_;
    running->remember("allocate", {count, size});
    if (n >= running->failFrom_ && n < running->failTo_) return nullptr;
    return running->makeBlock({count, size});
}

void* Master::makeBlock(Size size) {
    void* block = firstRecord;
    if (size == Size{1, sizeof(FmuInstance)}) {
        while (isAlive(block)) block = static_cast<char*>(block) + pageSize;
        block = mmap(block, pageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
    } else {
        block = std::calloc(size.count, size.size);
    }
    blocks_[block] = size;
    return block;
}

void Master::release(void* block) {
    const InsideMaster guard;
    const auto found = running->blocks_.extract(block);
    if (found.empty()) {
        std::fprintf(stderr, "master: not a block of the master's, or freed twice\n");
        std::abort();
    }
    running->remember("free", found.mapped());
    if (running->recording) running->freed_.push_back(block);
    if (found.mapped() == Size{1, sizeof(FmuInstance)})
        munmap(block, pageSize);
    else
        std::free(block);
}

void Master::remember(const char* call, Size size) {
    if (recording)
        memoryCalls_.push_back(std::string(call) + " " + std::to_string(size.count) + " x " +
                               std::to_string(size.size));
}
