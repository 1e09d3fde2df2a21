// Trace streams: lines written through to an optional FILE*, a bounded window of the latest
// ones kept for readers, and a notable flag. Several threads may write to one stream at once.
#include "lg/lg.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <mutex>
#include <vector>

namespace
{

constexpr const char* kStreamPath = "source/lg/lg_stream";
constexpr int kLineIndexLine = 40;
constexpr const char* kLineIndexText = "index >= 0 && index < lgStreamLineCount(stream)";
constexpr int kWindowLine = 133;
constexpr const char* kWindowText = "window > 0";

KS_INT textBytes(const ksString* line)
{
    return ksStringLength(line) * static_cast<KS_INT>(sizeof(KS_CHAR));
}

// Ends a va_list on every way out, including an exception from the abort hook.
class ArgsEnd
{
  public:
    explicit ArgsEnd(va_list& args) : args_(args) {}
    ArgsEnd(const ArgsEnd&) = delete;
    ArgsEnd& operator=(const ArgsEnd&) = delete;
    ~ArgsEnd() { va_end(args_); }

  private:
    va_list& args_;
};

// Gives a line back unless ownership was passed on.
class LineGuard
{
  public:
    explicit LineGuard(ksString* line) : line_(line) {}
    LineGuard(const LineGuard&) = delete;
    LineGuard& operator=(const LineGuard&) = delete;
    ~LineGuard() { ksObjRelease(line_); }
    ksString* get() const { return line_; }
    ksString* release()
    {
        ksString* line = line_;
        line_ = nullptr;
        return line;
    }

  private:
    ksString* line_;
};

} // namespace

// Line i lives in slot i % window once written; the slots grow on demand up to the window, so
// a stream that sees few lines stays small. Everything but `notable` is guarded by `mutex`.
struct lgStream {
    FILE* echo = nullptr;
    std::size_t window = LG_STREAM_DEFAULT_WINDOW;
    std::atomic<KS_BOOL> notable{KS_FALSE};
    mutable std::mutex mutex;
    std::vector<ksString*> slots; // one reference each
    KS_INT written = 0;
    KS_INT heldTextBytes = 0;
};

extern "C" {

void lgStreamTextFormatCstr(lgStream* stream, const char* format, KS_INT formatLength, ...)
{
    if (stream == nullptr) {
        return;
    }
    va_list args;
    va_start(args, formatLength);
    ArgsEnd end(args);
    LineGuard line(ksStringCreateFromFormatCstrArgList(format, formatLength, args));
    char* text = stream->echo != nullptr ? ksStringToUtf8Cstr(line.get()) : nullptr;

    ksString* evicted = nullptr;
    {
        std::lock_guard<std::mutex> lock(stream->mutex);
        std::vector<ksString*>& slots = stream->slots;
        if (slots.size() < stream->window) {
            try {
                if (slots.size() == slots.capacity()) {
                    slots.reserve(std::min(stream->window, std::max<std::size_t>(16, 2 * slots.size())));
                }
                slots.push_back(nullptr);
            } catch (...) {
                ksMemFree(text);
                throw;
            }
        }
        ksString*& slot = slots[static_cast<std::size_t>(stream->written) % stream->window];
        evicted = slot;
        stream->heldTextBytes += textBytes(line.get()) - (evicted != nullptr ? textBytes(evicted) : 0);
        slot = line.release();
        ++stream->written;
        // Echo under the lock so that the file shows the lines in the stream's order.
        if (text != nullptr) {
            std::fputs(text, stream->echo);
            std::fputc('\n', stream->echo);
            std::fflush(stream->echo);
        }
    }
    ksMemFree(text);
    // A line that left the window goes once the lock is let go; a reader may still hold it.
    ksObjRelease(evicted);
}

void lgStreamSetNotable(lgStream* stream)
{
    if (stream == nullptr) {
        return;
    }
    stream->notable.store(KS_TRUE, std::memory_order_release);
}

lgStream* lgStreamCreate(FILE* echo)
{
    return lgStreamCreateWithWindow(echo, LG_STREAM_DEFAULT_WINDOW);
}

lgStream* lgStreamCreateWithWindow(FILE* echo, KS_INT window)
{
    if (window <= 0) {
        ks___Abort(nullptr, kStreamPath, kWindowLine, kWindowText);
    }
    auto* stream = new lgStream;
    stream->echo = echo;
    stream->window = static_cast<std::size_t>(window);
    return stream;
}

void lgStreamDestroy(lgStream* stream)
{
    if (stream == nullptr) {
        return;
    }
    lgStreamReset(stream);
    delete stream;
}

KS_BOOL lgStreamNotable(const lgStream* stream)
{
    if (stream == nullptr) {
        return KS_FALSE;
    }
    return stream->notable.load(std::memory_order_acquire);
}

KS_INT lgStreamLineCount(const lgStream* stream)
{
    if (stream == nullptr) {
        return 0;
    }
    std::lock_guard<std::mutex> lock(stream->mutex);
    return stream->written;
}

KS_INT lgStreamFirstKeptLine(const lgStream* stream)
{
    if (stream == nullptr) {
        return 0;
    }
    std::lock_guard<std::mutex> lock(stream->mutex);
    return std::max<KS_INT>(0, stream->written - static_cast<KS_INT>(stream->window));
}

ksString* lgStreamLineAt(const lgStream* stream, KS_INT index)
{
    if (stream == nullptr) {
        return nullptr;
    }
    std::lock_guard<std::mutex> lock(stream->mutex);
    if (index < 0 || index >= stream->written) {
        ks___Abort(nullptr, kStreamPath, kLineIndexLine, kLineIndexText);
    }
    if (index < stream->written - static_cast<KS_INT>(stream->window)) {
        return nullptr;
    }
    ksString* line = stream->slots[static_cast<std::size_t>(index) % stream->window];
    ksObjRetain(line);
    return line;
}

KS_INT lgStreamBytesHeld(const lgStream* stream)
{
    if (stream == nullptr) {
        return 0;
    }
    std::lock_guard<std::mutex> lock(stream->mutex);
    return stream->heldTextBytes + static_cast<KS_INT>(stream->slots.capacity() * sizeof(ksString*));
}

void lgStreamReset(lgStream* stream)
{
    if (stream == nullptr) {
        return;
    }
    std::vector<ksString*> slots;
    {
        std::lock_guard<std::mutex> lock(stream->mutex);
        slots.swap(stream->slots);
        stream->written = 0;
        stream->heldTextBytes = 0;
        stream->notable.store(KS_FALSE, std::memory_order_release);
    }
    for (ksString* line : slots) {
        ksObjRelease(line);
    }
}

} // extern "C"
