#ifndef ORCA_PDK_CFIMSGDGST5_H
#define ORCA_PDK_CFIMSGDGST5_H

#include <cstddef>
#include <cstdint>

#include "cfiexport.h"

namespace orca_pdk_4_4 {

// The MD5 digest of RFC 1321: a checksum against accidents, no protection against attackers. An
// object may be used by one thread at a time; nothing is allocated and nothing fails.
class ORCA_PDK_API CFiMessageDigest5 {
 public:
  // Ready for Update.
  CFiMessageDigest5();
  // The finished digest of a buffer of length bytes; a null buffer counts as empty.
  CFiMessageDigest5(const void* buffer, unsigned long length);
  // The finished digest of a C string without its terminator.
  explicit CFiMessageDigest5(const char* text);
  // The finished digest of UTF-16 text up to its zero unit: two bytes a unit, as they lie in
  // memory.
  explicit CFiMessageDigest5(const unsigned short* text);

  // Forgets all data and any digest.
  void Initialize();
  // Adds length bytes. Ignored when data is null or the digest is already made.
  void Update(const unsigned char* data, unsigned long length);
  // Makes the digest. Further calls change nothing until Initialize.
  void Finalize();

  // The digest as 32 lower-case hexadecimal digits, empty before Finalize. Belongs to the object.
  const char* GetAnsiMessageDigest() const;
  // Always empty: the wide form is never made. Belongs to the object.
  const wchar_t* GetUnicodeMessageDigest() const;
  // Byte n of the digest; 0 before Finalize, and for n above 15.
  unsigned char operator[](unsigned long n) const;

  // Runs the compression function over one block of 64 bytes. Data counts are left alone.
  void Transform(const unsigned char* block);

 private:
  // One round over a block: sixteen steps, each of which replaces one word of the state.
  static inline void Transform_Round1(uint32_t (&state)[4], const unsigned char* block);
  static inline void Transform_Round2(uint32_t (&state)[4], const unsigned char* block);
  static inline void Transform_Round3(uint32_t (&state)[4], const unsigned char* block);
  static inline void Transform_Round4(uint32_t (&state)[4], const unsigned char* block);
  void transformBlocks(const unsigned char* blocks, unsigned long count);
  void padToLength();
  void storeDigest();

  unsigned char m_block[64];     // data that does not fill a block yet
  uint64_t m_blockUsed;          // bytes in m_block
  uint64_t m_a, m_b, m_c, m_d;   // the state; only the low 32 bits count
  uint64_t m_bitLength;          // of the data transformed so far
  unsigned char m_digest[16];    // empty until Finalize, like the text
  char m_digestText[33];         // its first byte tells whether the digest is made
  wchar_t m_wideDigestText[33];  // stays empty
};

}  // namespace orca_pdk_4_4

#endif
