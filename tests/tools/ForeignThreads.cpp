// The thread sanitiser is to judge our own code only: of OpenImageIO's threads it does not see the
// locks.
extern "C" const char* __tsan_default_options()
{
    return "ignore_noninstrumented_modules=1";
}
