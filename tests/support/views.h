// SPDX-License-Identifier: Apache-2.0
//
// The four views, by index and by name.
#ifndef TESTS_SUPPORT_VIEWS_H
#define TESTS_SUPPORT_VIEWS_H

#include <AMF2JSON.h>

#include <string>

namespace support {

template <class Renderer>
struct PackageView {
  const char* name;
  const std::string& (Renderer::*method)(bool pretty);

  const std::string& text(Renderer& r, bool pretty) const { return (r.*method)(pretty); }
};

/// JSON, script, both, statements alone.
template <class Renderer = AMFProtocol>
inline constexpr PackageView<Renderer> kPackageViews[] = {
    {"getPackageInJSON", &Renderer::getPackageInJSON},
    {"getPackageInJS", &Renderer::getPackageInJS},
    {"getPackageInJSON_and_JS", &Renderer::getPackageInJSON_and_JS},
    {"getPackageAsJSView", &Renderer::getPackageAsJSView},
};

template <class Renderer>
const std::string& view(Renderer& r, int which, bool pretty) {
  return kPackageViews<Renderer>[which].text(r, pretty);
}

}  // namespace support

#endif  // TESTS_SUPPORT_VIEWS_H
