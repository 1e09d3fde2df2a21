// A C++20 program of a library user on the C++ face alone: signatures computed at compile time,
// ks handles that let go, and a call through the context that needs no Java virtual machine.
#include <cstdio>
#include <string_view>

#include "ven/ven.hpp"

static_assert(std::string_view(ven::signatureOf<ven::Array<jstring>(ven::Object<"a/B">, jlong)>.c_str()) ==
              "(La/B;J)[Ljava/lang/String;");

static jint answer(JNIEnv*, jclass, jstring)
{
    return 42;
}

int main()
{
    int failures = 0;
    const auto expect = [&](bool condition, const char* what) {
        if (!condition) {
            std::fprintf(stderr, "consumer: FAILED: %s\n", what);
            ++failures;
        }
    };
    const JNINativeMethod row = ven::native<jint(jstring)>("answer", &answer);
    expect(std::string_view(row.signature) == "(Ljava/lang/String;)I", "the native's signature");
    {
        ven::KsString first(ksStringCreateFromCstr("first", -1));
        first = ven::KsString(ksStringCreateFromCstr("second", -1));
        expect(ksObjLiveCount() == 1 && ksStringLength(first) == 6, "a moved string replaces the other");
    }
    lgStream* trace = lgStreamCreate(nullptr);
    expect(!ven::Context(nullptr, trace).run<venTraceException>(nullptr, KS_TRUE, "main") &&
               lgStreamLineCount(trace) == 1 && lgStreamNotable(trace),
           "the trace of a NULL throwable");
    lgStreamDestroy(trace);
    expect(ksObjLiveCount() == 0 && ksMemLiveCount() == 0, "nothing left alive");
    if (failures == 0) {
        std::printf("consumer: ok\n");
    }
    return failures != 0;
}
