/* Passphrases of wireless networks, in the two forms that the property "passphrase" has.
 *
 * Clients write the plain form: 8 to 63 printable ASCII characters. The commit then stores the enciphered
 * form, 256 hexadecimal digits, which is what clients read and what the configuration file has. Clients may
 * write it back: the two forms are told apart by their lengths.
 *
 * The key of the cipher is the same in every agent. So a passphrase is not read by accident, in the file or
 * on a client's screen, but it is not protected against an attacker. */
#ifndef ACCESS_POINT_PASSPHRASE_H
#define ACCESS_POINT_PASSPHRASE_H

enum {
  PLAIN_PASSPHRASE_SIZE = 65, /* what deciphering needs */
  ENCIPHERED_PASSPHRASE_SIZE = 257
};

/* Return 1 when the value is a passphrase, else 0: the first one in the plain form, the second one in either.
 */
int is_plain_passphrase(const char *value);
int is_passphrase(const char *value);

/* Writes the enciphered form of a plain passphrase. Returns 1, or 0 when it has failed. */
int encipher_passphrase(const char *plain, char enciphered[ENCIPHERED_PASSPHRASE_SIZE]);

/* Writes the plain form of an enciphered passphrase. Returns 1, or 0 when the value is none. */
int decipher_passphrase(const char *enciphered, char plain[PLAIN_PASSPHRASE_SIZE]);

#endif
