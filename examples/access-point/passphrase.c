#include "passphrase.h"

#include <string.h>
#include <vorn.h>

int is_plain_passphrase(const char *value) { return vorn_input_is_wpa_psk_key(value, (int)strlen(value)); }

int encipher_passphrase(const char *plain, char enciphered[ENCIPHERED_PASSPHRASE_SIZE]) {
  return pw_encrypt(plain, enciphered);
}

/* Any 256 digits decipher to something. The result is a passphrase if it is valid and if enciphering it gives
 * the same digits again. The last byte is not part of it. */
int decipher_passphrase(const char *enciphered, char plain[PLAIN_PASSPHRASE_SIZE]) {
  char again[ENCIPHERED_PASSPHRASE_SIZE];
  memset(plain, 0, PLAIN_PASSPHRASE_SIZE);
  if (strlen(enciphered) != ENCIPHERED_PASSPHRASE_SIZE - 1 || !pw_decrypt(enciphered, plain)) return 0;
  plain[PLAIN_PASSPHRASE_SIZE - 1] = '\0';
  return is_plain_passphrase(plain) && encipher_passphrase(plain, again) && strcmp(again, enciphered) == 0;
}

int is_passphrase(const char *value) {
  char plain[PLAIN_PASSPHRASE_SIZE];
  if (is_plain_passphrase(value)) return 1;
  int is_enciphered = decipher_passphrase(value, plain);
  explicit_bzero(plain, sizeof plain);
  return is_enciphered;
}
