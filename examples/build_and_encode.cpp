// SPDX-License-Identifier: Apache-2.0
//
// Builds a call by hand, encodes it, decodes it again and prints its JSON text:
//
//   build_and_encode [OUT]      OUT receives the packet
//
// The call carries one header and one message with AMF0 values, AMF3 values, references of all
// kinds and a byte array. docs/building-trees.md tells the rules it follows.
#include <AMFEdit.h>
#include <AMF2JSON>

#include <cstdio>
#include <fstream>
#include <memory>
#include <new>
#include <utility>

namespace {

using Value = std::unique_ptr<AMFNode>;

std::unique_ptr<AMFString> text(AMFVersion version, const char* characters) {
  auto node = std::make_unique<AMFString>(version);
  node->setValue(characters, static_cast<unsigned>(std::char_traits<char>::length(characters)));
  return node;
}

Value number(AMFVersion version, double value) {
  auto node = std::make_unique<AMFDouble>(version);
  node->value = value;
  return node;
}

Value integer(std::uint32_t value) {  // AMF3 only
  auto node = std::make_unique<AMFInt>(AMF_VERSION_3);
  node->value = value;
  return node;
}

// The parent owns the child from here on. appendChild may throw: the child is still ours then.
template <class Parent, class Child>
void adopt(Parent& parent, std::unique_ptr<Child> child) {
  parent.appendChild(child.get(), false);
  child.release();
}

std::unique_ptr<AMFPair> member(AMFVersion version, const char* name, Value value) {
  auto pair = std::make_unique<AMFPair>(version);
  pair->setName(text(version, name).release(), false);
  pair->setValue(value.release(), false);
  return pair;
}

// What a reference stands for: a full copy that records the index.
Value referenceTo(const AMFNode& node, std::uint32_t index) {
  Value copy(node.clone());
  copy->referenceIndex = index;
  return copy;
}

std::unique_ptr<AMFObject> point(std::uint32_t x, std::uint32_t y) {
  auto object = std::make_unique<AMFObject>(AMF_VERSION_3);
  object->setClassName(text(AMF_VERSION_3, "Point").release(), false);
  object->sealedCount = 2;  // both members are sealed; it is not dynamic
  adopt(*object, member(AMF_VERSION_3, "x", integer(x)));
  adopt(*object, member(AMF_VERSION_3, "y", integer(y)));
  return object;
}

// Strings count from 0 in the order they are written: "apple" 0, "Point" 1, "x" 2, "y" 3. Arrays,
// objects and byte arrays count from where they begin: this array 0, the first point 1, the
// second 2.
Value amf3Values() {
  auto array = std::make_unique<AMFArray>(AMF_VERSION_3);
  auto apple = text(AMF_VERSION_3, "apple");
  auto appleAgain = referenceTo(*apple, 0);
  adopt(*array, std::move(apple));
  adopt(*array, std::move(appleAgain));

  auto first = point(3, 4);
  auto second = point(5, 6);
  second->traitsIndex = 0;  // class name and member names of the first
  auto firstAgain = referenceTo(*first, 1);
  adopt(*array, std::move(first));
  adopt(*array, std::move(second));
  adopt(*array, std::move(firstAgain));

  auto bytes = std::make_unique<AMFRaw>(AMF_VERSION_3);
  bytes->setValue("\x00\x01\xFE\xFF", 4);
  adopt(*array, std::move(bytes));
  return array;
}

Value arguments() {
  auto array = std::make_unique<AMFArray>(AMF_VERSION_0);
  array->strict = 1;
  auto item = std::make_unique<AMFObject>(AMF_VERSION_0);
  adopt(*item, member(AMF_VERSION_0, "id", number(AMF_VERSION_0, 7)));
  auto itemAgain = referenceTo(*item, 0);  // AMF0 counts objects and arrays as they end
  adopt(*array, std::move(item));
  adopt(*array, std::move(itemAgain));
  adopt(*array, amf3Values());  // written with the switch marker 11 in front
  return array;
}

std::unique_ptr<AMFHeader> credentials() {
  auto object = std::make_unique<AMFObject>(AMF_VERSION_0);
  adopt(*object, member(AMF_VERSION_0, "userid", text(AMF_VERSION_0, "ann")));
  adopt(*object, member(AMF_VERSION_0, "password", text(AMF_VERSION_0, "secret")));
  auto header = std::make_unique<AMFHeader>();
  header->setName(text(AMF_VERSION_0, "Credentials").release(), false);
  header->setValue(object.release(), false);
  header->mustUnderstand = true;
  return header;
}

std::unique_ptr<AMFMessage> call() {
  auto message = std::make_unique<AMFMessage>();
  message->setTargetUri(text(AMF_VERSION_0, "inbox.store").release(), false);
  message->setResponseUri(text(AMF_VERSION_0, "/1").release(), false);
  message->setValue(arguments().release(), false);
  return message;
}

int run(const char* output) {
  AMFPackage package(AMF_VERSION_3);
  auto header = credentials();
  package.appendHeader(header.get(), false);  // all headers before the first message
  header.release();
  auto message = call();
  package.appendMessage(message.get(), false);
  message.release();
  setTrueLengths(&package);

  AMFProtocol encoder;
  const std::unique_ptr<char[]> packet(encoder.compile(&package));
  encoder.loseResultBuffer();  // the bytes are ours now
  encoder.clean();             // the pieces are not needed any more
  if (output != nullptr) {
    std::ofstream file(output, std::ios::binary);
    file.write(packet.get(), static_cast<std::streamsize>(encoder.getResultLength()));
    if (!file.flush()) {
      std::fprintf(stderr, "build_and_encode: cannot write %s\n", output);
      return 1;
    }
  }

  AMFProtocol decoder;
  decoder.parse(packet.get());  // our own bytes: no check is needed
  std::printf("%u bytes\n%s\n", static_cast<unsigned>(encoder.getResultLength()),
              decoder.getPackageInJSON(true).c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc > 1 ? argv[1] : nullptr);
  } catch (const AMFException& e) {
    std::fprintf(stderr, "build_and_encode: %s\n", e.message);
  } catch (const std::bad_alloc&) {
    std::fputs("build_and_encode: out of memory\n", stderr);
  }
  return 1;
}
