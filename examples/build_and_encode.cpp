// SPDX-License-Identifier: Apache-2.0
//
// Builds a call by hand, encodes it, and prints how many bytes it wrote to OUT:
//
//   build_and_encode OUT
//
// The call is inbox.store(7, ["apple", "apple"]): AMF0, and in it an AMF3 array whose second
// string is a reference to the first. docs/building-trees.md has the rules.
#include <AMFEdit.h>
#include <AMF2JSON>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <utility>

static std::unique_ptr<AMFString> text(AMFVersion version, const std::string& characters) {
  auto node = std::make_unique<AMFString>(version);
  node->setValue(characters.data(), static_cast<unsigned>(characters.size()));
  return node;
}

// The array owns the child after this call. If appendChild throws, the caller still owns it.
template <class Child>
static void adopt(AMFArray& array, std::unique_ptr<Child> child) {
  array.appendChild(child.get(), false);
  child.release();
}

int main(int argc, char** argv) {
  auto fruits = std::make_unique<AMFArray>(AMF_VERSION_3);
  auto apple = text(AMF_VERSION_3, "apple");
  std::unique_ptr<AMFString> again(apple->clone());
  again->referenceIndex = 0;  // the first string in the message has the index 0
  adopt(*fruits, std::move(apple));
  adopt(*fruits, std::move(again));
  auto seven = std::make_unique<AMFDouble>(AMF_VERSION_0);
  seven->value = 7;
  auto arguments = std::make_unique<AMFArray>(AMF_VERSION_0);
  arguments->strict = 1;
  adopt(*arguments, std::move(seven));
  adopt(*arguments, std::move(fruits));

  AMFMessage call;
  call.setTargetUri(text(AMF_VERSION_0, "inbox.store").release(), false);
  call.setResponseUri(text(AMF_VERSION_0, "/1").release(), false);
  call.setValue(arguments.release(), false);
  AMFPackage package(AMF_VERSION_3);
  package.appendMessage(&call, true);  // a copy: `call` still belongs to main
  setTrueLengths(&package);            // the length of the message's value

  AMFProtocol protocol;
  const char* const packet = protocol.compile(&package);  // owned by `protocol`
  std::ofstream out(argc == 2 ? argv[1] : "", std::ios::binary);
  out.write(packet, static_cast<std::streamsize>(protocol.getResultLength()));
  if (out.flush()) std::printf("%u bytes\n", static_cast<unsigned>(protocol.getResultLength()));
  return out ? 0 : 1;
}
