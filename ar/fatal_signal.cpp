#include "ar/fatal_signal.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "ar/lib/ar_file.h"

AR_FILE* current_archive = nullptr;

namespace {

constexpr int kHandledSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGILL, SIGABRT, SIGFPE,
                                   SIGSEGV, SIGTRAP, SIGBUS, SIGSYS, SIGXCPU, SIGXFSZ};

constexpr char kInternalErrorAdvice[] =
    "This is a serious problem.  Please contact Customer\n"
    "Support with this message and a copy of the input file\n"
    "and help us to continue to make the tools more robust.\n\n";

// What an internal fault is called in the report.
const char* fatal_signal_text(int signal_number) {
    switch (signal_number) {
    case SIGILL: return "executed an illegal instruction";
    case SIGTRAP: return "received a TRAP signal";
    case SIGABRT: return "aborted";
    case SIGBUS: return "experienced a bus alignment fault";
    case SIGFPE: return "received a floating point exception";
    case SIGSEGV: return "experienced a segmentation fault";
    case SIGXCPU: return "exceeded the CPU time limit";
    case SIGXFSZ: return "exceeded the file size limit";
    case SIGSYS: return "experienced a bad system call";
    default: return "experienced a fatal internal fault";
    }
}

// Only the file part of the clean-up runs here: the signal may have stopped
// the program inside stdio or the allocator, where closing a stream or
// freeing memory would deadlock.
void restore_current_archive() {
    if (current_archive != nullptr)
        current_archive->restore_files();
}

// The handler's own texts go straight to the descriptor: stdio's list of
// open streams is guarded by a lock that the interrupted code may hold
// (every fopen and fclose takes it).
void say(const char* text) {
    size_t left = strlen(text);
    while (left > 0) {
        ssize_t n = write(STDERR_FILENO, text, left);
        if (n <= 0)
            return;
        text += n;
        left -= static_cast<size_t>(n);
    }
}

// Standard output holds the progress shown so far; it is flushed alone
// (flushing every stream would take that lock), and the process ends
// without running destructors, which would close streams and free memory.
void flush_output() {
    fflush(stdout);
}

[[noreturn]] void end_process(int status) {
    flush_output();
    _exit(status);
}

void report_internal_error(int signal_number) {
    say("\nINTERNAL ERROR: ");
    say(fatal_signal_text(signal_number));
    say("\n");
    flush_output();
    say("\n\n");
    say(kInternalErrorAdvice);
}

}  // namespace

void install_fatal_signals() {
    for (int signal_number : kHandledSignals)
        signal(signal_number, fatal_signal);
}

void fatal_signal(int signal_number) {
    if (signal_number == SIGHUP || signal_number == SIGINT) {
        flush_output();
        say("[forced exit]\n");
        restore_current_archive();
        end_process(2);
    }
    if (signal_number == SIGTERM) {
        flush_output();
        say("[received a terminate signal]\n");
        restore_current_archive();
        end_process(1);
    }
    report_internal_error(signal_number);
    restore_current_archive();
    end_process(1);
}
