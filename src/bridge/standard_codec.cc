#include "bridge/standard_codec.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace movaro {
namespace {

enum Tag : uint8_t {
  kNull = 0,
  kTrue = 1,
  kFalse = 2,
  kInt32 = 3,
  kInt64 = 4,
  kLargeInt = 5,
  kFloat64 = 6,
  kString = 7,
  kUint8List = 8,
  kInt32List = 9,
  kInt64List = 10,
  kFloat64List = 11,
  kList = 12,
  kMap = 13,
  kFloat32List = 14,
};

// Elements reserved ahead for a list or map; more grow as they decode. A
// count is only checked against the bytes left, and every nesting level
// claims those same bytes, so reserving whole counts would ask for the
// message size times the depth times an element's size.
constexpr size_t kMaxReserved = 64;

class Writer {
 public:
  explicit Writer(Bytes& out) : out_(out) {}

  void byte(uint8_t b) { out_.push_back(b); }

  template <typename T>
  void raw(T value) {
    static_assert(std::is_trivially_copyable_v<T>);
    uint8_t bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    out_.insert(out_.end(), bytes, bytes + sizeof(T));
  }

  void size(size_t n) {
    if (n < 254) {
      byte(static_cast<uint8_t>(n));
    } else if (n <= 0xffff) {
      byte(254);
      raw(static_cast<uint16_t>(n));
    } else {
      byte(255);
      raw(static_cast<uint32_t>(n));
    }
  }

  void align(size_t alignment) {
    while (out_.size() % alignment != 0) {
      byte(0);
    }
  }

  template <typename T>
  void list(Tag tag, const std::vector<T>& values) {
    byte(tag);
    size(values.size());
    align(sizeof(T));
    for (T v : values) {
      raw(v);
    }
  }

  void value(const Value& v) {
    std::visit([this](const auto& x) { write(x); }, v.variant());
  }

 private:
  void write(std::monostate) { byte(kNull); }
  void write(bool b) { byte(b ? kTrue : kFalse); }
  void write(int32_t i) {
    byte(kInt32);
    raw(i);
  }
  void write(int64_t i) {
    byte(kInt64);
    raw(i);
  }
  void write(double d) {
    byte(kFloat64);
    align(8);
    raw(d);
  }
  void write(const std::string& s) {
    byte(kString);
    size(s.size());
    out_.insert(out_.end(), s.begin(), s.end());
  }
  void write(const std::vector<uint8_t>& b) {
    byte(kUint8List);
    size(b.size());
    out_.insert(out_.end(), b.begin(), b.end());
  }
  void write(const std::vector<int32_t>& l) { list(kInt32List, l); }
  void write(const std::vector<int64_t>& l) { list(kInt64List, l); }
  void write(const std::vector<float>& l) { list(kFloat32List, l); }
  void write(const std::vector<double>& l) { list(kFloat64List, l); }
  void write(const ValueList& l) {
    byte(kList);
    size(l.size());
    for (const Value& element : l) {
      value(element);
    }
  }
  void write(const ValueMap& m) {
    byte(kMap);
    size(m.size());
    for (const auto& [key, element] : m) {
      value(key);
      value(element);
    }
  }

  Bytes& out_;
};

// Every read checks the bounds first; a failed read poisons the reader.
class Reader {
 public:
  Reader(const uint8_t* data, size_t size) : data_(data), size_(size) {}

  bool ok() const { return ok_; }
  bool atEnd() const { return pos_ == size_; }

  bool byte(uint8_t& b) {
    if (!need(1)) {
      return false;
    }
    b = data_[pos_++];
    return true;
  }

  template <typename T>
  bool raw(T& value) {
    if (!need(sizeof(T))) {
      return false;
    }
    std::memcpy(&value, data_ + pos_, sizeof(T));
    pos_ += sizeof(T);
    return true;
  }

  bool size(size_t& n) {
    uint8_t b = 0;
    if (!byte(b)) {
      return false;
    }
    if (b < 254) {
      n = b;
      return true;
    }
    if (b == 254) {
      uint16_t s = 0;
      return raw(s) && (n = s, true);
    }
    uint32_t s = 0;
    return raw(s) && (n = s, true);
  }

  bool align(size_t alignment) {
    size_t mod = pos_ % alignment;
    if (mod == 0) {
      return true;
    }
    if (!need(alignment - mod)) {
      return false;
    }
    pos_ += alignment - mod;
    return true;
  }

  bool string(std::string& s) {
    size_t n = 0;
    if (!size(n) || !need(n)) {
      return false;
    }
    s.assign(reinterpret_cast<const char*>(data_ + pos_), n);
    pos_ += n;
    return true;
  }

  template <typename T>
  bool list(std::vector<T>& values) {
    size_t n = 0;
    if (!size(n) || !align(sizeof(T)) || !need(n, sizeof(T))) {
      return false;
    }
    values.resize(n);
    if (n > 0) {
      std::memcpy(values.data(), data_ + pos_, n * sizeof(T));
    }
    pos_ += n * sizeof(T);
    return true;
  }

  // `depth` counts the lists and maps around the value.
  bool value(Value& out, int depth) {
    uint8_t tag = 0;
    if (!byte(tag)) {
      return false;
    }
    if ((tag == kList || tag == kMap) &&
        depth >= StandardMessageCodec::kMaxDepth) {
      return fail();
    }
    switch (tag) {
      case kNull:
        out = Value();
        return true;
      case kTrue:
        out = true;
        return true;
      case kFalse:
        out = false;
        return true;
      case kInt32:
        return readInto<int32_t>(out);
      case kInt64:
        return readInto<int64_t>(out);
      case kFloat64: {
        double d = 0;
        if (!align(8) || !raw(d)) {
          return false;
        }
        out = d;
        return true;
      }
      case kLargeInt:  // Written by the engine as hexadecimal text.
      case kString: {
        std::string s;
        if (!string(s)) {
          return false;
        }
        out = std::move(s);
        return true;
      }
      case kUint8List:
        return listInto<uint8_t>(out);
      case kInt32List:
        return listInto<int32_t>(out);
      case kInt64List:
        return listInto<int64_t>(out);
      case kFloat32List:
        return listInto<float>(out);
      case kFloat64List:
        return listInto<double>(out);
      case kList: {
        size_t n = 0;
        // Each element takes at least one byte, so a count larger than the
        // bytes left is a lie; refuse it before reserving anything.
        if (!size(n) || !need(n)) {
          return false;
        }
        ValueList list;
        list.reserve(std::min(n, kMaxReserved));
        for (size_t i = 0; i < n; ++i) {
          list.emplace_back();
          if (!value(list.back(), depth + 1)) {
            return false;
          }
        }
        out = std::move(list);
        return true;
      }
      case kMap: {
        size_t n = 0;
        if (!size(n) || !need(n, 2)) {
          return false;
        }
        ValueMap::Entries entries;
        entries.reserve(std::min(n, kMaxReserved));
        for (size_t i = 0; i < n; ++i) {
          entries.emplace_back();
          if (!value(entries.back().first, depth + 1) ||
              !value(entries.back().second, depth + 1)) {
            return false;
          }
        }
        out = ValueMap::fromEntries(std::move(entries));
        return true;
      }
      default:
        return fail();
    }
  }

 private:
  template <typename T>
  bool readInto(Value& out) {
    T v{};
    if (!raw(v)) {
      return false;
    }
    out = v;
    return true;
  }

  template <typename T>
  bool listInto(Value& out) {
    std::vector<T> values;
    if (!list(values)) {
      return false;
    }
    out = std::move(values);
    return true;
  }

  bool need(size_t count, size_t unit = 1) {
    if (!ok_ || count > (size_ - pos_) / unit) {
      return fail();
    }
    return true;
  }

  bool fail() {
    ok_ = false;
    return false;
  }

  const uint8_t* data_;
  size_t size_;
  size_t pos_ = 0;
  bool ok_ = true;
};

std::optional<std::string> asOptionalString(const Value& v) {
  if (const auto* s = v.getIf<std::string>()) {
    return *s;
  }
  return std::nullopt;
}

}  // namespace

Bytes StandardMessageCodec::encode(const Value& value) {
  Bytes out;
  Writer(out).value(value);
  return out;
}

std::optional<Value> StandardMessageCodec::decode(const uint8_t* data,
                                                  size_t size) {
  Reader reader(data, size);
  Value value;
  if (!reader.value(value, 0) || !reader.atEnd()) {
    return std::nullopt;
  }
  return value;
}

Bytes StandardMethodCodec::encodeMethodCall(const MethodCall& call) {
  Bytes out;
  Writer writer(out);
  writer.value(Value(call.method));
  writer.value(call.arguments);
  return out;
}

std::optional<MethodCall> StandardMethodCodec::decodeMethodCall(
    const uint8_t* data,
    size_t size) {
  Reader reader(data, size);
  Value method;
  MethodCall call;
  if (!reader.value(method, 0) || !method.is<std::string>() ||
      !reader.value(call.arguments, 0) || !reader.atEnd()) {
    return std::nullopt;
  }
  call.method = *method.getIf<std::string>();
  return call;
}

Bytes StandardMethodCodec::encodeSuccessEnvelope(const Value& value) {
  Bytes out{0};
  Writer(out).value(value);
  return out;
}

Bytes StandardMethodCodec::encodeErrorEnvelope(const PluginError& error) {
  Bytes out{1};
  Writer writer(out);
  writer.value(Value(error.code));
  writer.value(error.message ? Value(*error.message) : Value());
  writer.value(Value());
  return out;
}

std::optional<Envelope> StandardMethodCodec::decodeEnvelope(const uint8_t* data,
                                                            size_t size) {
  if (size == 0) {
    return NotImplementedEnvelope{};
  }
  Reader reader(data, size);
  uint8_t kind = 0;
  reader.byte(kind);
  if (kind == 0) {
    SuccessEnvelope success;
    if (!reader.value(success.value, 0) || !reader.atEnd()) {
      return std::nullopt;
    }
    return success;
  }
  if (kind != 1) {
    return std::nullopt;
  }
  Value code;
  Value message;
  ErrorEnvelope error;
  if (!reader.value(code, 0) || !code.is<std::string>() ||
      !reader.value(message, 0) || !reader.value(error.details, 0)) {
    return std::nullopt;
  }
  // Newer engines append a stack trace string; accept and drop it.
  Value stackTrace;
  if (!reader.atEnd() && (!reader.value(stackTrace, 0) || !reader.atEnd())) {
    return std::nullopt;
  }
  if (!message.isNull() && !message.is<std::string>()) {
    return std::nullopt;
  }
  error.code = *code.getIf<std::string>();
  error.message = asOptionalString(message);
  return error;
}

}  // namespace movaro
