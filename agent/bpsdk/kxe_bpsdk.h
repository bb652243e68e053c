/*
 * Tracing SDK: notable events of the agent's modules, for whoever watches the endpoint.
 *
 * The library lies in @/../lib/libkxe_bpsdk.so ("@" is the directory of the running executable). It
 * is loaded at run time and never linked; an installation without it is an ordinary one.
 *
 * Each event becomes one line of JSON at the end of @/../var/trace/events.jsonl. The directory and
 * its parent are made when missing, with mode 0750; the file has mode 0640. A line is written by
 * one call in append mode, so lines of several processes and threads never mix. When the next line
 * would take the file beyond 10 MiB it is renamed to events.jsonl.1, over the one before, and a new
 * one is begun. A line that finds no room on the disk is taken back, so that all are whole.
 *
 *   {"time":"2024-05-06T07:08:09.123Z","module":"...","event":"...","product":"...",
 *    "version":"...","host_id":"...","body":{...}}
 *
 * (on one line), where the last member is one of
 *
 *   "body"     the text of the event, when it is JSON itself; blanks between its tokens may differ
 *   "message"  any other text, as a string
 *   "data"     what kxe_bp_other was given, in hexadecimal digits; instead of the five members of
 *              the header there is "code", a number
 *
 * "time" is the clock of the machine in UTC. Text longer than 65536 bytes (KXE_BP_MAX_TEXT), and
 * data longer than that, is cut there, and "truncated":true follows. Text is taken for UTF-8; each
 * byte that is not is replaced by U+FFFD. Control characters are escaped. JSON nested more than 64
 * deep is taken for other text.
 *
 * Every function may be called from any thread at any time. None throws, blocks on another process
 * or writes to standard output or error.
 */
#ifndef KXE_BPSDK_H
#define KXE_BPSDK_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/* Longest text or data of an event, in bytes, that is kept whole. */
#define KXE_BP_MAX_TEXT 65536U

/*
 * Who reports what: 212 bytes. Each field is text of at most its width and ends at its first zero
 * byte, if it has one. `reserved` is not read.
 */
typedef struct kxe_bp_header {
    char module[32];  /* the reporting module */
    char event[64];   /* name of the event */
    char product[16]; /* product line */
    char version[16]; /* version of the agent */
    char host_id[16]; /* the agent's id, in decimal digits */
    char reserved[68];
} kxe_bp_header;

/*
 * Begins tracing and makes the directory. May be called again; one kxe_bp_uninit ends it however
 * often it was called. Returns 0, or an errno value when the directory cannot be made; tracing has
 * begun then as well, and every event tries anew.
 */
int kxe_bp_init(void);

/* Ends tracing: later events are refused. Harmless when it has not begun. */
void kxe_bp_uninit(void);

/*
 * Appends an event with the text that `fmt` and what follows it give, as printf would. The three do
 * the same, since text is UTF-8 here whatever it was before.
 *
 * Return 0 when the whole line was written, otherwise an errno value and no whole line: EPERM when
 * tracing has not begun, EINVAL for a null header or format, ENOMEM, ENOSPC, or what the file
 * system says. An event that cannot be written is lost.
 */
int kxe_bp_trace(const kxe_bp_header* header, const char* fmt, ...)
    __attribute__((format(printf, 2, 3)));
int kxe_bp_trace_unicode(const kxe_bp_header* header, const char* fmt, ...)
    __attribute__((format(printf, 2, 3)));
int kxe_bp_trace_utf8(const kxe_bp_header* header, const char* fmt, ...)
    __attribute__((format(printf, 2, 3)));

/*
 * Appends an event of another kind: `code` says which, and means nothing to this library. `data`
 * may be null when `len` is 0. Returns as above; EINVAL for null with a length.
 */
int kxe_bp_other(int code, const void* data, unsigned len);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* KXE_BPSDK_H */
