/* INI files, the ini_file family: the older names of what kxe_ini.h describes, with the same
 * behaviour function by function. A document of one family may be handed to the other. */
#ifndef INI_FILE_H
#define INI_FILE_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

typedef struct kxe_ini_file ini_file;

ini_file* ini_file_load(const char* path);
const char* ini_file_get(ini_file* f, const char* section, const char* key);
int ini_file_set(ini_file* f, const char* section, const char* key, const char* value);
int ini_file_del(ini_file* f, const char* section);
int ini_file_save(ini_file* f, const char* path, int flags);
void ini_file_free(ini_file* f);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* INI_FILE_H */
