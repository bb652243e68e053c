/* INI files, the kxe_ini_file family.
 *
 * The form of a file: a section is a line "[NAME]", a key with its value a line "KEY=VALUE"; keys
 * above the first section belong to the section "" (empty text). A line that begins with ';' or '#'
 * is a comment; there are no comments behind something on the same line. Blanks around names,
 * values and lines do not count; nothing else is taken away or given a meaning, so quotes and
 * backslashes belong to the value. Names are compared byte by byte. Of a key that occurs several
 * times in a section the last one counts. A section that occurs several times is one. Lines end in
 * LF, CR LF or CR; a UTF-8 byte order mark at the beginning is skipped; no character set is
 * assumed. A line that is none of these is passed over.
 *
 * What a save keeps: all comments, each above what it stood above; the order of sections and of
 * keys in them, new ones at the end; several values of one key (side by side), until the key is
 * set; the byte order mark. A line that was passed over is kept as a comment, and so is text behind
 * the bracket of a section's line. Keys of a section that occurs several times are gathered where
 * it occurs first. Indentation, blanks around '=' and empty lines are not kept; lines end in LF.
 *
 * Threads: a document may be used by one thread at a time, on any thread; different documents do
 * not know of each other. Two programs that load, change and save one file need a lock between them
 * (see kxe_glock.h), or the change of one is lost. Nothing throws. Functions that return an int
 * give 0, or -1 with errno set; EINVAL for any null argument and ENOMEM are possible everywhere. */
#ifndef KXE_INI_H
#define KXE_INI_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

typedef struct kxe_ini_file kxe_ini_file;

/* Reads a file into a document that the caller owns and gives back with kxe_ini_file_free. An empty
 * file is an empty document. `path` is taken as it is: "@" is not expanded. Null on failure with
 * errno set: that of open or read; EISDIR for a directory; EINVAL for anything else that is not a
 * regular file (it is never waited for) and for a file with a zero byte; EFBIG for one over 4 MiB.
 */
kxe_ini_file* kxe_ini_file_load(const char* path);

/* The value of a key, or null with errno ENOENT when there is none. A key without a value has an
 * empty one. The text belongs to the document and is valid until that key is set, its section is
 * removed or the document is freed. */
const char* kxe_ini_file_get(kxe_ini_file* f, const char* section, const char* key);

/* Sets the one value of a key, in memory; section and key are added when they are missing. All
 * texts are copied, without blanks around them; the value may be one that kxe_ini_file_get
 * returned. What would not read back the same is refused with EINVAL and changes nothing: a line
 * end in any of the three; ']' in a section's name; an empty key, one with '=' in it, or one that
 * begins with '[', ';',
 * '#' or a byte order mark. */
int kxe_ini_file_set(kxe_ini_file* f, const char* section, const char* key, const char* value);

/* Removes a section with all its keys and the comments above them, in memory; 0 also when there was
 * none. When the section is set again before the next save it keeps its place in the file and the
 * comment above it. */
int kxe_ini_file_del(kxe_ini_file* f, const char* section);

/* Writes the document to `path`, which need not be the one it was loaded from. The file is replaced
 * at one stroke: a new one is written beside it, flushed to the disk, and renamed over it, so that
 * whoever opens the path finds the old content or the new one, also after a crash or with a full
 * disk. Owner, group and permissions of the old file are kept as far as the process may give them;
 * a file that was not there gets mode 0644 less the umask. Symbolic links are followed and stay.
 * `flags` is not looked at.
 *
 * A document for one of whose changes memory was missing (ENOMEM) is not saved any more, with
 * ENOMEM: a file with a part of the changes would be worse than the old one.
 *
 * On failure the old file is as it was, no other file is left, and the document can be saved again;
 * errno is that of the call that failed, or EFBIG when the text is over 4 MiB, EISDIR or EINVAL
 * when something other than a regular file is in the place. */
int kxe_ini_file_save(kxe_ini_file* f, const char* path, int flags);

/* Gives the document back; null is allowed. */
void kxe_ini_file_free(kxe_ini_file* f);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* KXE_INI_H */
