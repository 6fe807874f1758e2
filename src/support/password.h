/* Passwords in a printable, enciphered form, for the configuration file.
 *
 * What this is good for: a password is not read off the screen or a print-out by who happens to see the file.
 * What it is not: protection from anyone who means to read it. The key is fixed and built into the agent, so
 * whoever has the agent or its source deciphers every password of every device. Equal passwords look equal,
 * and so do equal beginnings of 16 characters; nothing tells whether a form was altered. Keep the file's
 * permissions tight all the same.
 *
 * The cipher is AES-128 (FIPS 197) in CBC mode (NIST SP 800-38A) with a zero initialisation vector, over a
 * block of n bytes: the password, then zero bytes. The inner form is the ciphertext in 2 * n lowercase hex
 * digits. The stored form is the inner form of n = 64 with each character as the two hex digits of its ASCII
 * code: 256 characters.
 *
 * All results are 1 for success and 0 for failure, unless it says otherwise. A null argument and exhausted
 * memory are failures. All buffers are the caller's. */
#ifndef VORN_SUPPORT_PASSWORD_H
#define VORN_SUPPORT_PASSWORD_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* Writes the stored form of a password of up to 64 characters, with its terminator, to the 257 bytes at
 * `out`; an empty password gives "". After a failure they are all zero. */
VORN_API int pw_encrypt(const char *plain, char *out) VORN_NOEXCEPT;

/* Reads the stored form back; the digits may be of either case, and what follows the 256th is not looked at.
 * `out` needs 65 bytes: the 64 of the block and one that holds no meaning. A password of 64 characters is
 * therefore not terminated: read at most 64 characters. An empty form gives "". One that is shorter or has
 * other characters than hex digits is a failure, with "" in `out`; any 256 digits decipher to something. */
VORN_API int pw_decrypt(const char *stored, char *out) VORN_NOEXCEPT;

/* Write the inner form of a password with its terminator to the 2 * n + 1 bytes at `out`; an empty password
 * gives "". It is a failure, which leaves `out` alone, when n is 0 or no multiple of 16 or the password is
 * longer than n characters. Nothing behind the password's terminator is read. pwEncrypt is for callers
 * that leave the cipher to the agent: it is pwEncryptAes. */
VORN_API int pwEncryptAes(const char *plain, char *out, unsigned n) VORN_NOEXCEPT;
VORN_API int pwEncrypt(const char *plain, char *out, unsigned n) VORN_NOEXCEPT;

/* Reads an inner form of 2 * n characters back and writes n bytes to `out`: no terminator follows a password
 * of n characters. It is a failure when n is 0. Nothing is checked: characters that are no lowercase hex
 * digits, upper-case ones included, give wrong bytes. Where n is no multiple of 16, the last block is taken
 * to go on with zero bytes. */
VORN_API int pwDecrypt(char *out, const char *hex, unsigned n) VORN_NOEXCEPT;

/* Self-tests, which print to standard output, passwords in clear included. They return the result of their
 * last printf, or 0, with nothing printed, for a null argument. */

/* Enciphers the text with a key of its own, deciphers it and prints it. */
VORN_API int debugTestAes(const char *text) VORN_NOEXCEPT;

/* Prints the password, and its inner form and what that deciphers to for n = 64 and n = 128. */
VORN_API int debugTestPasswordEncrypt(const char *plain) VORN_NOEXCEPT;

/* Prints what an inner form of n = 64 deciphers to. Of a longer argument, the first 128 characters count. */
VORN_API int debugTestPasswordDecrypt(const char *stored) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
