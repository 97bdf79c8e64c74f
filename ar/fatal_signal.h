#ifndef ARWREN_AR_FATAL_SIGNAL_H
#define ARWREN_AR_FATAL_SIGNAL_H

class AR_FILE;

// The archive being worked on, set once its headers are read and never
// cleared; the signal handler puts it back as it was before the run.
extern AR_FILE* current_archive;

// Installs fatal_signal for the fixed set of signals. SIGPIPE and SIGQUIT are
// deliberately left alone.
void install_fatal_signals();

// Reports the signal, restores the current archive and ends the process:
// status 2 for SIGINT and SIGHUP, 1 for everything else.
void fatal_signal(int signal_number);

#endif
