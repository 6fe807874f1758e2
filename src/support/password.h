/* Passwords in a printable, enciphered form, for the configuration file.
 *
 * This hides a password from someone who happens to see the file, and does not protect it from anyone who
 * wants to read it. The key is fixed and built into the agent, so whoever has the agent or its source can
 * decipher every password of every device. Equal passwords look equal, and so do equal beginnings of 16
 * characters; nothing shows whether a form was altered. Keep the file's permissions tight all the same.
 *
 * The cipher is AES-128 (FIPS 197) in CBC mode (NIST SP 800-38A) with a zero initialisation vector, over a
 * block of n bytes: the password, then zero bytes. The inner form is the ciphertext in 2 * n lowercase hex
 * digits. The stored form is the inner form of n = 64 with each character as the two hex digits of its ASCII
 * code: 256 characters.
 *
 * Functions return 1 for success and 0 for failure, unless said otherwise. They fail for a null argument and
 * when memory runs out. All buffers are the caller's. */
#ifndef VORN_SUPPORT_PASSWORD_H
#define VORN_SUPPORT_PASSWORD_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* Writes the stored form of a password of up to 64 characters, with its terminator, to the 257 bytes at
 * `out`; an empty password gives "". Fails for a longer password; unless an argument is null, the 257 bytes
 * are then all zero. */
VORN_API int pw_encrypt(const char *plain, char *out) VORN_NOEXCEPT;

/* Reads the stored form back; the digits may be of either case, and what follows the 256th is ignored. `out`
 * needs 65 bytes: the 64 of the block and one without meaning. A password of 64 characters is therefore not
 * terminated: read at most 64 characters. An empty form gives "". Fails, with "" in `out`, for a form that is
 * shorter or has characters other than hex digits; any 256 digits decipher to something. */
VORN_API int pw_decrypt(const char *stored, char *out) VORN_NOEXCEPT;

/* Writes the inner form of a password with its terminator to the 2 * n + 1 bytes at `out`; an empty password
 * gives "". Fails, and leaves `out` alone, when n is 0 or no multiple of 16 or the password is longer than n
 * characters. Nothing after the password's terminator is read. */
VORN_API int pwEncryptAes(const char *plain, char *out, unsigned n) VORN_NOEXCEPT;

/* Does what pwEncryptAes does; for callers that leave the choice of the cipher to the agent. */
VORN_API int pwEncrypt(const char *plain, char *out, unsigned n) VORN_NOEXCEPT;

/* Reads an inner form of 2 * n characters back and writes n bytes to `out`: no terminator follows a password
 * of n characters. Fails when n is 0. Nothing is checked: characters that are no lowercase hex digits,
 * upper-case ones included, give wrong bytes. When n is no multiple of 16, the last block is filled up with
 * zero bytes. */
VORN_API int pwDecrypt(char *out, const char *hex, unsigned n) VORN_NOEXCEPT;

/* Self-tests, which print to standard output, passwords in clear included. They return the result of their
 * last printf(3), or 0 for a null argument or when memory runs out. */

/* Enciphers the text with a key of its own, deciphers it and prints it. */
VORN_API int debugTestAes(const char *text) VORN_NOEXCEPT;

/* Prints the password, and its inner form and what that deciphers to for n = 64 and n = 128. */
VORN_API int debugTestPasswordEncrypt(const char *plain) VORN_NOEXCEPT;

/* Prints what an inner form of n = 64 deciphers to. Of a longer argument, the first 128 characters count. */
VORN_API int debugTestPasswordDecrypt(const char *stored) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
