/* Part of each program of the preset tsan. Not in the environment, which workers of the data server don't
   inherit. A worker may end in ways that a report doesn't change the status of, and so the first report
   ends it. Reports that are known to be wrong would stand here as __tsan_default_suppressions, each with its
   reason; there is none. */
#define SEEN_BY_THE_SANITIZER __attribute__((visibility("default")))

char const* __tsan_default_options(void);

SEEN_BY_THE_SANITIZER char const* __tsan_default_options(void)
{
    return "halt_on_error=1:exitcode=66:atexit_sleep_ms=0:second_deadlock_stack=1";
}
