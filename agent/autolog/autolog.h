/* Log of the agent: one file per process that uses this library, one line per event.
 *
 *     2026-03-14 15:09:26.535+08:00 E 4711/4712 netinfo:118 socket fail: Too many open files
 *
 * Local time with milliseconds and the offset to UTC; the level's letter; process id and thread id;
 * the tag and the line number of the source; the message.
 *
 * Levels: 1 critical (C), 2 error (E), 3 information (I), 4 debug (D). Those up to a highest one
 * are enabled. The highest one is the value of key "level" in section "[log]" of
 *
 *     @/../config/log/agent/kxepinfo/agent/log.ini
 *
 * "@" being the directory of the running executable; 3 when there is no such file, no such key, or
 * a value other than 1 to 4. The file is looked at when the first line is to be logged and from
 * then on at most once a second, by a call of one of the functions below; while nothing changed a
 * look is one stat.
 *
 * Where lines go: to DIR/kxepinfo.log of the latest autolog_init. A file that would grow past 10
 * MiB becomes kxepinfo.1.log, that kxepinfo.2.log and so on, and the one past the limit is removed.
 * While no file is open, which is before autolog_init and when the directory cannot be written to,
 * lines of levels 1 to 3 go to standard error in the same form, debug lines nowhere. Once a second
 * the file is looked for again: it is opened when the directory can be written to by now, and anew
 * when it was removed or moved away. A line whose write fails (a full disk), and lines that are
 * written between the removal and the next look, are lost. The directory is made by autolog_init
 * alone: an installation that was removed does not come back.
 *
 * Threads: every function may be called from any thread. None may be called in a child process
 * between fork and exec, where the lock may be held by a thread that is not there. errno is the
 * same after error_output and error_output_check as before, so a caller may log first and use it
 * then. Nothing throws. The descriptor of the file is closed on exec. The library starts no thread
 * and can be unloaded, which closes the file. */
#ifndef AUTOLOG_H
#define AUTOLOG_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/* Sends all lines from now on to kxepinfo.log in the directory `dir`, which is made with its
 * parents (mode 0750) when it is missing. `files`, 1 to 1000, is how many files are kept, the one
 * that is written to among them. `dir` is copied; it is taken as it is; when it is no absolute
 * path it begins at the working directory of this moment.
 *
 * Returns 0, or an errno value: EINVAL for unusable arguments, with everything as it was; otherwise
 * the reason why the file is not open, and then it is tried again as told above. May be called any
 * number of times: with the same arguments it only makes sure that directory and file are there,
 * with others it closes the old file and opens the new one. */
int autolog_init(const char* dir, int files);

/* Non-zero when lines of `level` are enabled now. Cheap; meant to be asked before the arguments of
 * a message are worked out. */
int error_output_check(int level);

/* Logs one line when its level is enabled. `fmt` and what follows are printf's; `tag` and `line`
 * say where in the source; nothing is kept. A trailing newline of the message is dropped; all other
 * control characters (also the line separators of Unicode) and bytes that are not UTF-8 are written
 * as \xNN, so a message is one line whatever text it carries. Tag, line number and message are
 * together at most 8192 bytes; what is longer ends in "...[cut]". The line is in the file, though
 * not flushed to the disk, when the function returns. */
void error_output(int level, const char* tag, int line, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* AUTOLOG_H */
