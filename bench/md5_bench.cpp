// MD5 of the kit against OpenSSL: small messages with everything around them, long ones for the
// compression function.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <cstddef>
#include <vector>

#include "cfimsgdgst5.h"

namespace {

std::vector<unsigned char> message(std::size_t size) {
  std::vector<unsigned char> bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 131 + 7);
  return bytes;
}

void kitDigest(benchmark::State& state, std::size_t size) {
  const std::vector<unsigned char> bytes = message(size);
  for (auto _ : state) {
    orca_pdk_4_4::CFiMessageDigest5 digest;
    digest.Update(bytes.data(), bytes.size());
    digest.Finalize();
    benchmark::DoNotOptimize(digest.GetAnsiMessageDigest()[0]);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(size));
}

void opensslDigest(benchmark::State& state, std::size_t size) {
  const std::vector<unsigned char> bytes = message(size);
  for (auto _ : state) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    EVP_DigestInit_ex(context, EVP_md5(), nullptr);
    EVP_DigestUpdate(context, bytes.data(), bytes.size());
    EVP_DigestFinal_ex(context, digest, nullptr);
    EVP_MD_CTX_free(context);
    benchmark::DoNotOptimize(digest[0]);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(size));
}

BENCHMARK_CAPTURE(kitDigest, size, 16)->Name("CFiMessageDigest5/16B");
BENCHMARK_CAPTURE(opensslDigest, size, 16)->Name("EVP_md5/16B");
BENCHMARK_CAPTURE(kitDigest, size, 64 << 10)->Name("CFiMessageDigest5/64KiB");
BENCHMARK_CAPTURE(opensslDigest, size, 64 << 10)->Name("EVP_md5/64KiB");
BENCHMARK_CAPTURE(kitDigest, size, 1 << 20)->Name("CFiMessageDigest5/1MiB");
BENCHMARK_CAPTURE(opensslDigest, size, 1 << 20)->Name("EVP_md5/1MiB");

}  // namespace
