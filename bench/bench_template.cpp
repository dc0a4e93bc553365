// Template compilation: a generated template of about 1,000 elements holding
// 300 variables in 5 namespaces, and smaller and larger ones of the same shape.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench_engine.h"
#include "nqdom.h"

namespace {

// Ten elements per section: the section, a head with a text variable, an
// item with an attribute variable, a note with a variable (optional in every
// third section) and six plain elements. Four namespaces are declared on the root; the
// fifth on every fourth section, where its prefix clashes with one of the
// root's, so that patching generates a prefix for it.
std::string makeTemplate(int sections, int* elements, int* variables) {
    std::string text =
        "<doc xmlns=\"urn:bench:default\" xmlns:a=\"urn:bench:a\" xmlns:b=\"urn:bench:b\" "
        "xmlns:c=\"urn:bench:c\" version=\"1\">\n";
    *elements = 1;
    *variables = 0;
    for (int s = 0; s < sections; ++s) {
        const std::string n = std::to_string(s);
        const bool redeclares = s % 4 == 3;
        text += redeclares ? "  <a:section xmlns:a=\"urn:bench:e\" id=\"" + n + "\">\n"
                           : "  <a:section id=\"" + n + "\">\n";
        text += "    <b:head>Title of section " + n + ": ${title" + n + "}</b:head>\n";
        text += "    <c:item a:key=\"${key" + n + "}\" kind=\"fixed\">plain text</c:item>\n";
        if (s % 3 == 0) text += "    <!-- Optional: the note may be left out -->\n";
        text += "    <note>${note" + n + "}</note>\n";
        *variables += 3;
        for (int k = 0; k < 6; ++k) text += "    <a:line n=\"" + std::to_string(k) + "\">text</a:line>\n";
        text += "  </a:section>\n";
        *elements += 10;
    }
    return text + "</doc>\n";
}

void BM_CompileTemplate(benchmark::State& state) {
    if (!benchEngineStarted()) {
        state.SkipWithError("engine not started");
        return;
    }
    int elements = 0;
    int variables = 0;
    const NqbString text(makeTemplate(static_cast<int>(state.range(0)), &elements, &variables).c_str());
    {
        NqDom check;
        NqDomTemplate* tpl = check.getTemplate(text);
        if (!tpl || tpl->getVariableCount() != variables || tpl->getNamespaceCount() != 5) {
            state.SkipWithError(tpl ? "unexpected template shape" : check.getErrorMessage().asCstr());
            if (tpl) tpl->release();
            return;
        }
        tpl->release();
    }
    for (auto _ : state) {
        NqDom dom;
        NqDomTemplate* tpl = dom.getTemplate(text);
        benchmark::DoNotOptimize(tpl);
        tpl->release();
    }
    state.counters["elements"] = elements;
    state.counters["variables"] = variables;
    state.counters["templates/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["per_element"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * elements,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// 100 sections: 1,001 elements and 300 variables.
BENCHMARK(BM_CompileTemplate)->Arg(25)->Arg(100)->Arg(400)->Unit(benchmark::kMillisecond);

}  // namespace
