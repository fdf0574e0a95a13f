#ifndef FILESNAP_GUARD_H
#define FILESNAP_GUARD_H

namespace filesnap {

// Runs the body of an operation and returns its result. Nothing is thrown past it: what the body
// throws is current while report() is called, which tells it to the framework and returns the
// result. When that fails as well, as it may without memory, the result is `unreported`.
template <typename Body, typename Report>
int guarded(Body body, Report report, int unreported) noexcept {
  try {
    return body();
  } catch (...) {
    try {
      return report();
    } catch (...) {
      return unreported;
    }
  }
}

}  // namespace filesnap

#endif
