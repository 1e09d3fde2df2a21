// The benchmarks' JVM and the Java objects the rows use. The test harness starts its JVM
// with checked JNI; this one must run JNI at full speed, with the heap touched up front and
// of a fixed size, so that page faults and heap growth stay out of the figures.
#include <vector>

#include "bench.hpp"
#include "jvmhost.hpp"

namespace ven::bench
{

namespace
{

std::vector<std::string> jvmOptions(const std::string& classPath)
{
    return {
        "-Djava.class.path=" + classPath,
        "-Xms512m", // fixed heap: no growth or shrinking during the run
        "-Xmx512m",
        "-XX:+AlwaysPreTouch",          // every heap page faulted in at start-up, not in a row
        "-XX:+UseTransparentHugePages", // and in 2 MB pages: a fault costs microseconds here
        "-XX:+UseSerialGC",             // no concurrent GC threads competing for the two cores
        "-XX:-UsePerfData",
        "-Xrs",
    };
}

World theWorld;

} // namespace

std::string jvmOptionsText(const std::string& classPath)
{
    std::string text;
    for (const std::string& option : jvmOptions(classPath)) {
        text += (text.empty() ? "" : " ") + option;
    }
    return text;
}

JNIEnv* startJvm(const std::string& jdkHome, const std::string& classPath, std::string& error)
{
    std::vector<jvmhost::Option> options;
    for (const std::string& option : jvmOptions(classPath)) {
        options.push_back({option});
    }
    JNIEnv* env = nullptr;
    JavaVM* vm = jvmhost::createJavaVm(jdkHome, options, &env, error);
    if (vm == nullptr) {
        return nullptr;
    }
    venSetJavaVm(vm);
    return env;
}

World& world()
{
    return theWorld;
}

bool setUpWorld(JNIEnv* env, std::string& error)
{
    World& w = theWorld;
    w.env = env;
    jclass local = env->FindClass("venbench/Target");
    jmethodID constructor = local != nullptr ? env->GetMethodID(local, "<init>", "()V") : nullptr;
    jobject target = constructor != nullptr ? env->NewObject(local, constructor) : nullptr;
    if (target == nullptr) {
        env->ExceptionDescribe();
        env->ExceptionClear();
        error = "venbench.Target not found or not constructible: is the class path right?";
        return false;
    }
    w.targetClass = static_cast<jclass>(env->NewGlobalRef(local));
    w.target = env->NewGlobalRef(target);
    w.intField = env->GetFieldID(local, "intField", "I");
    w.plus = env->GetMethodID(local, "plus", "(I)I");
    w.twice = env->GetStaticMethodID(local, "twice", "(I)I");
    w.fail = env->GetMethodID(local, "fail", "(I)I");
    w.textField = env->GetFieldID(local, "textField", "Ljava/lang/String;");
    w.text = env->GetMethodID(local, "text", "()Ljava/lang/String;");
    env->DeleteLocalRef(target);
    env->DeleteLocalRef(local);
    if (env->ExceptionCheck() || w.intField == nullptr || w.plus == nullptr || w.twice == nullptr ||
        w.fail == nullptr || w.textField == nullptr || w.text == nullptr) {
        env->ExceptionDescribe();
        env->ExceptionClear();
        error = "venbench.Target lacks a member the rows use";
        return false;
    }
    w.trace = lgStreamCreate(nullptr);
    return true;
}

} // namespace ven::bench
