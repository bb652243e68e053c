/* Log of the agent. */
#ifndef AUTOLOG_H
#define AUTOLOG_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

int autolog_init(const char* dir, int files);
int error_output_check(int level);
void error_output(int level, const char* tag, int line, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* AUTOLOG_H */
