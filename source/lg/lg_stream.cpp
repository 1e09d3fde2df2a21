// Trace streams: lines kept in memory, optionally echoed to a FILE*, and a notable
// flag. Several threads may write to one stream at once.
#include "lg/lg.h"

#include <atomic>
#include <cstdarg>
#include <mutex>
#include <vector>

namespace
{

constexpr const char* kStreamPath = "source/lg/lg_stream";
constexpr int kLineIndexLine = 40;
constexpr const char* kLineIndexText = "index >= 0 && index < lgStreamLineCount(stream)";

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

struct lgStream {
    FILE* echo = nullptr;
    std::atomic<KS_BOOL> notable{KS_FALSE};
    mutable std::mutex mutex;
    std::vector<ksString*> lines; // one reference each, guarded by `mutex`
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

    std::lock_guard<std::mutex> lock(stream->mutex);
    try {
        stream->lines.push_back(line.get());
    } catch (...) {
        ksMemFree(text);
        throw;
    }
    line.release();
    // Echo under the lock so that the file shows the lines in the stream's order.
    if (text != nullptr) {
        std::fputs(text, stream->echo);
        std::fputc('\n', stream->echo);
        std::fflush(stream->echo);
        ksMemFree(text);
    }
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
    auto* stream = new lgStream;
    stream->echo = echo;
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
    return static_cast<KS_INT>(stream->lines.size());
}

ksString* lgStreamLineAt(const lgStream* stream, KS_INT index)
{
    if (stream == nullptr) {
        return nullptr;
    }
    std::lock_guard<std::mutex> lock(stream->mutex);
    if (index < 0 || index >= static_cast<KS_INT>(stream->lines.size())) {
        ks___Abort(nullptr, kStreamPath, kLineIndexLine, kLineIndexText);
    }
    ksString* line = stream->lines[static_cast<std::size_t>(index)];
    ksObjRetain(line);
    return line;
}

void lgStreamReset(lgStream* stream)
{
    if (stream == nullptr) {
        return;
    }
    std::vector<ksString*> lines;
    {
        std::lock_guard<std::mutex> lock(stream->mutex);
        lines.swap(stream->lines);
        stream->notable.store(KS_FALSE, std::memory_order_release);
    }
    for (ksString* line : lines) {
        ksObjRelease(line);
    }
}

} // extern "C"
