/* Passphrases of wireless networks, in the two forms that "passphrase" takes.
 *
 * Clients write them plain: 8 to 63 printable ASCII characters. The commit then stores the enciphered form,
 * 256 hexadecimal digits, and that is what clients read and the configuration file has. Clients may write it
 * back; by their lengths the two cannot be confused.
 *
 * The key of the cipher is the same in every agent. So this hides a passphrase from who glances at the file
 * or at a client's screen, and from nobody who means to know it. */
#ifndef ACCESS_POINT_PASSPHRASE_H
#define ACCESS_POINT_PASSPHRASE_H

enum {
  PLAIN_PASSPHRASE_SIZE = 65, /* what deciphering needs */
  ENCIPHERED_PASSPHRASE_SIZE = 257
};

/* Return 1 when the value is a plain passphrase, and when it is one in either form, else 0. */
int is_plain_passphrase(const char *value);
int is_passphrase(const char *value);

/* Writes the enciphered form of a plain passphrase. Returns 1, or 0 when that has failed. */
int encipher_passphrase(const char *plain, char enciphered[ENCIPHERED_PASSPHRASE_SIZE]);

/* Writes the plain form of an enciphered passphrase. Returns 1, or 0 when the value is none. */
int decipher_passphrase(const char *enciphered, char plain[PLAIN_PASSPHRASE_SIZE]);

#endif
