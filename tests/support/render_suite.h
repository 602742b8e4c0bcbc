// SPDX-License-Identifier: Apache-2.0
//
// Suites of tests that run on the library's renderer and on the plain one.
#ifndef TESTS_SUPPORT_RENDER_SUITE_H
#define TESTS_SUPPORT_RENDER_SUITE_H

#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>

#include "support/plain_renderer.h"

namespace support {

/// Names the two instances of a test: "library" and "plain".
struct RendererNames {
  template <class Renderer>
  static std::string GetName(int) {
    return std::is_same<Renderer, PlainRenderer>::value ? "plain" : "library";
  }
};

using Renderers = ::testing::Types<AMFProtocol, PlainRenderer>;

template <class Renderer>
void layout(Renderer& r, bool pretty) {
  r.newLine = pretty ? "\n" : "";
  r.indentUnit = pretty ? "\t" : "";
}

/// A renderer of either kind with a package that is deleted with it.
template <class Renderer>
class WithPackage {
 public:
  explicit WithPackage(AMFPackage* shown = nullptr) : held(shown) { renderer.package = shown; }
  ~WithPackage() { renderer.package = nullptr; }
  WithPackage(const WithPackage&) = delete;
  WithPackage& operator=(const WithPackage&) = delete;
  void show(AMFPackage* next) {
    renderer.package = next;
    held.reset(next);
  }
  Renderer renderer;

 private:
  std::unique_ptr<AMFPackage> held;
};

}  // namespace support

/// TYPED_TEST(suite, Name) runs with TypeParam AMFProtocol and PlainRenderer.
#define RENDERER_SUITE(suite)              \
  template <class Renderer>                \
  class suite : public ::testing::Test {}; \
  TYPED_TEST_SUITE(suite, ::support::Renderers, ::support::RendererNames)

#endif  // TESTS_SUPPORT_RENDER_SUITE_H
