// Collects benchmark results and renders them as markdown tables.
#ifndef BENCH_TABLE_H
#define BENCH_TABLE_H

#include <benchmark/benchmark.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace bench {

struct CellKey {
    std::string operation;  // memcpy, load, walk, texts, serialize
    std::string library;
    std::string input;  // "20MB/flat/ascii"
    std::size_t megabytes;
};

class Table {
public:
    // Declares a benchmark by its registered name; rows and columns follow
    // the order of declaration.
    void expect(const std::string& benchmarkName, const CellKey& key);
    // Takes a run of a declared name; a name may run several times (rounds,
    // repetitions) and its cell shows the median. Unknown names are ignored.
    void record(const benchmark::BenchmarkReporter::Run& run);

    std::string markdown() const;
    int failures() const;

private:
    struct Cell {
        CellKey key;
        bool measured = false;
        bool failed = false;
        double seconds = 0;  // median CPU time per iteration
        double allocationsPerElement = -1;
        double spread = 0;            // (slowest - fastest) / median
        std::vector<double> runs;     // CPU time per iteration of each run
        std::vector<double> medians;  // used only when no single run is reported
    };
    static void summarise(Cell& cell);

    const Cell* find(const std::string& operation, const std::string& library,
                     const std::string& input) const;
    std::string throughputTable() const;
    std::string allocationTable() const;
    std::string growthTable() const;

    std::map<std::string, Cell> m_cells;
    std::vector<std::string> m_inputs;
    std::vector<std::string> m_libraries;
};

// The console output as usual, with every run also handed to a Table.
class TableReporter : public benchmark::ConsoleReporter {
public:
    TableReporter(Table& table, bool color)
        : benchmark::ConsoleReporter(color ? OO_ColorTabular : OO_Tabular), m_table(table) {}
    void ReportRuns(const std::vector<Run>& runs) override;

private:
    Table& m_table;
};

}  // namespace bench

#endif
