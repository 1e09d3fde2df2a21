// A C++20 program of a library user that includes only the C++ face: signatures computed at
// compile time, a native's type checked against its signature, ks handles that let go, and
// a call through the context that needs no Java virtual machine.
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

    const KS_INT objects = ksObjLiveCount();
    {
        ven::KsString first(ksStringCreateFromCstr("first", -1));
        ven::KsString second(ksStringCreateFromCstr("second", -1));
        first = std::move(second);
        expect(ksObjLiveCount() == objects + 1 && ksStringLength(first) == 6,
               "a moved string replaces the other");
    }
    expect(ksObjLiveCount() == objects, "the handles released their strings");

    // Tracing a NULL throwable needs no virtual machine: one line, and the stream is notable.
    lgStream* trace = lgStreamCreate(nullptr);
    const ven::Context ctx(nullptr, trace);
    expect(!ctx.run<venTraceException>(nullptr, KS_TRUE, "main"), "the trace refuses a NULL throwable");
    expect(lgStreamLineCount(trace) == 1 && lgStreamNotable(trace) == KS_TRUE, "one notable line");
    lgStreamDestroy(trace);

    if (failures == 0) {
        std::printf("consumer: ok\n");
    }
    return failures == 0 ? 0 : 1;
}
