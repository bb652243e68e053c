/* INI files, the kxe_ini_file family. */
#ifndef KXE_INI_H
#define KXE_INI_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

typedef struct kxe_ini_file kxe_ini_file;

kxe_ini_file* kxe_ini_file_load(const char* path);
const char* kxe_ini_file_get(kxe_ini_file* f, const char* section, const char* key);
int kxe_ini_file_set(kxe_ini_file* f, const char* section, const char* key, const char* value);
int kxe_ini_file_del(kxe_ini_file* f, const char* section);
int kxe_ini_file_save(kxe_ini_file* f, const char* path, int flags);
void kxe_ini_file_free(kxe_ini_file* f);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* KXE_INI_H */
