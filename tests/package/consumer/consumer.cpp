// A C++20 program of a library user on the C++ face alone: signatures computed at compile time,
// ks handles that let go, and a call through the context that needs no Java virtual machine.
#undef NDEBUG
#include <cassert>
#include <cstdio>
#include <string_view>

#include "ven/ven.hpp"

static_assert(std::string_view(ven::signatureOf<ven::Array<jstring>(ven::Object<"a/B">, jlong)>.c_str()) ==
              "(La/B;J)[Ljava/lang/String;");

int main()
{
    const auto answer = +[](JNIEnv*, jclass, jstring) { return jint{42}; };
    assert(std::string_view(ven::native<jint(jstring)>("answer", answer).signature) ==
           "(Ljava/lang/String;)I");
    {
        ven::KsString first(ksStringCreateFromCstr("first", -1));
        first = ven::KsString(ksStringCreateFromCstr("second", -1));
        assert(ksObjLiveCount() == 1 && ksStringLength(first) == 6);
    }
    lgStream* trace = lgStreamCreate(nullptr);
    assert(!ven::Context(nullptr, trace).run<venTraceException>(nullptr, KS_TRUE, "main") &&
           lgStreamLineCount(trace) == 1);
    lgStreamDestroy(trace);
    assert(ksObjLiveCount() == 0 && ksMemLiveCount() == 0);
    std::printf("consumer: ok\n");
}
