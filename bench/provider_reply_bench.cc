// The mesh provider's reply step against simdjson's bare DOM parse of the
// same bytes: a status reply of about 256 KiB, a thousand peers or so.
// The step runs on the UI thread, so it should cost at most a small
// multiple of the parse alone; the "ratio" counter reports that multiple.
#include <benchmark/benchmark.h>
#include <simdjson.h>

#include <chrono>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "mesh/provider_reply.h"

namespace movaro::platform {
namespace {

// One peer as the provider describes it: identity, name, addresses,
// presence, timestamps and traffic counters.
std::string peerJson(int i) {
  char buffer[512];
  std::snprintf(buffer, sizeof(buffer),
                R"({"id":"n%08x","name":"device-%04d",)"
                R"("addresses":["100.64.%d.%d","fd00:6d76:7261::%x"],)"
                R"("online":%s,"lastSeen":"2031-01-%02dT%02d:%02d:%02d.%03dZ",)"
                R"("rxBytes":%lld,"txBytes":%lld,"latencyMs":%d.5,)"
                R"("relay":"%s","os":"%s"})",
                static_cast<unsigned>(i) * 2654435761u, i, i / 250 + 1,
                i % 250 + 2, i + 2, i % 5 ? "true" : "false", i % 28 + 1,
                i % 24, i % 60, (i * 7) % 60, (i * 37) % 1000,
                static_cast<long long>(i) * 123456789LL,
                static_cast<long long>(i) * 98765431LL + 5000000000LL, i % 200,
                i % 3 ? "fra" : "nyc", i % 2 ? "macOS" : "linux");
  return buffer;
}

// A status reply as large as a reply may be, without going over.
const std::string& statusReply() {
  static const std::string reply = [] {
    const std::string head =
        R"({"state":"connected","selfName":"this-mac",)"
        R"("selfAddresses":["100.64.0.1","fd00:6d76:7261::1"],)"
        R"("sessionExpiresAt":"2031-01-01T00:00:00Z",)"
        R"("errorCode":null,"version":"1.2.3","peers":[)";
    const std::string tail = "]}";
    std::string text = head;
    for (int i = 0;; ++i) {
      std::string peer = (i ? "," : "") + peerJson(i);
      if (text.size() + peer.size() + tail.size() > kReplyLimitBytes) {
        break;
      }
      text += peer;
    }
    return text + tail;
  }();
  return reply;
}

size_t peerCount() {
  ProviderReplyDecoder decoder;
  std::optional<ValueMap> decoded = decoder.decode(statusReply());
  const Value* peers = decoded ? find(*decoded, "peers") : nullptr;
  const ValueList* list = peers ? peers->getIf<ValueList>() : nullptr;
  return list ? list->size() : 0;
}

void setReplyCounters(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(statusReply().size()));
  state.counters["replyBytes"] = static_cast<double>(statusReply().size());
  state.counters["peers"] = static_cast<double>(peerCount());
}

void BM_BareDomParse(benchmark::State& state) {
  const simdjson::padded_string padded(statusReply());
  simdjson::dom::parser parser;
  for (auto _ : state) {
    simdjson::dom::element root;
    if (parser.parse(padded).get(root) != simdjson::SUCCESS) {
      state.SkipWithError("parse failed");
      break;
    }
    benchmark::DoNotOptimize(root);
  }
  setReplyCounters(state);
}
BENCHMARK(BM_BareDomParse);

void BM_ReplyStep(benchmark::State& state) {
  ProviderReplyDecoder decoder;
  const std::string_view reply = statusReply();
  for (auto _ : state) {
    std::optional<ValueMap> decoded = decoder.decode(reply);
    if (!decoded) {
      state.SkipWithError("reply refused");
      break;
    }
    benchmark::DoNotOptimize(decoded);
    // Freeing the decoded values is part of the step's cost.
  }
  setReplyCounters(state);
}
BENCHMARK(BM_ReplyStep);

// Both, interleaved, so that they see the same machine conditions. The
// counters give the mean times and the multiples of the bare parse:
// "ratio" for the whole step (decoding, filtering, converting and freeing
// the values), "decodeRatio" without the freeing, which happens only once
// the plugin has passed the reply on.
void BM_ReplyStepOverDomParse(benchmark::State& state) {
  using Clock = std::chrono::steady_clock;
  const simdjson::padded_string padded(statusReply());
  simdjson::dom::parser parser;
  ProviderReplyDecoder decoder;
  const std::string_view reply = statusReply();
  Clock::duration parseTime{};
  Clock::duration decodeTime{};
  Clock::duration freeTime{};
  for (auto _ : state) {
    const Clock::time_point start = Clock::now();
    simdjson::dom::element root;
    const simdjson::error_code error = parser.parse(padded).get(root);
    benchmark::DoNotOptimize(root);
    const Clock::time_point parsed = Clock::now();
    std::optional<ValueMap> decoded = decoder.decode(reply);
    benchmark::DoNotOptimize(decoded);
    const Clock::time_point decodedAt = Clock::now();
    if (error || !decoded) {
      state.SkipWithError("reply refused");
      break;
    }
    decoded.reset();
    const Clock::time_point freed = Clock::now();
    parseTime += parsed - start;
    decodeTime += decodedAt - parsed;
    freeTime += freed - decodedAt;
  }
  const double iterations = static_cast<double>(state.iterations());
  if (parseTime.count() == 0 || iterations == 0) {
    return;
  }
  auto meanUs = [iterations](Clock::duration total) {
    return std::chrono::duration<double, std::micro>(total).count() /
           iterations;
  };
  state.counters["parseUs"] = meanUs(parseTime);
  state.counters["decodeUs"] = meanUs(decodeTime);
  state.counters["freeUs"] = meanUs(freeTime);
  state.counters["ratio"] = meanUs(decodeTime + freeTime) / meanUs(parseTime);
  state.counters["decodeRatio"] = meanUs(decodeTime) / meanUs(parseTime);
}
BENCHMARK(BM_ReplyStepOverDomParse);

}  // namespace
}  // namespace movaro::platform

BENCHMARK_MAIN();
