#include "bench_table.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace bench {
namespace {

constexpr const char* kOperations[] = {"load", "walk", "texts", "serialize"};
constexpr const char* kReference = "xerces";
// Cells whose runs spread wider than this share of the median are marked as noise.
constexpr double kNoisySpread = 0.10;

std::string format(const char* pattern, double value) {
    char text[64];
    std::snprintf(text, sizeof text, pattern, value);
    return text;
}

double megabytesPerSecond(double megabytes, double seconds) {
    return seconds > 0 ? megabytes / seconds : 0;
}

}  // namespace

void Table::expect(const std::string& benchmarkName, const CellKey& key) {
    m_cells[benchmarkName].key = key;
    if (std::find(m_inputs.begin(), m_inputs.end(), key.input) == m_inputs.end())
        m_inputs.push_back(key.input);
    if (key.library != "memcpy" &&
        std::find(m_libraries.begin(), m_libraries.end(), key.library) == m_libraries.end()) {
        m_libraries.push_back(key.library);
    }
}

void Table::record(const benchmark::BenchmarkReporter::Run& run) {
    auto it = m_cells.find(run.run_name.function_name);
    if (it == m_cells.end()) return;
    Cell& cell = it->second;
    const bool aggregate = run.run_type == benchmark::BenchmarkReporter::Run::RT_Aggregate;
    if (aggregate && run.aggregate_name != "median") return;
    const double seconds = run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
    (aggregate ? cell.medians : cell.runs).push_back(seconds);
    cell.measured = true;
    cell.failed = cell.failed || run.error_occurred;
    auto allocations = run.counters.find("allocs_per_element");
    if (allocations != run.counters.end()) cell.allocationsPerElement = allocations->second.value;
    summarise(cell);
}

void Table::summarise(Cell& cell) {
    std::vector<double> times = cell.runs.empty() ? cell.medians : cell.runs;
    std::sort(times.begin(), times.end());
    const std::size_t n = times.size();
    cell.seconds = n % 2 ? times[n / 2] : (times[n / 2 - 1] + times[n / 2]) / 2;
    cell.spread = cell.seconds > 0 ? (times.back() - times.front()) / cell.seconds : 0;
}

int Table::failures() const {
    return static_cast<int>(
        std::count_if(m_cells.begin(), m_cells.end(), [](const auto& entry) { return entry.second.failed; }));
}

const Table::Cell* Table::find(const std::string& operation, const std::string& library,
                               const std::string& input) const {
    for (const auto& entry : m_cells) {
        const Cell& cell = entry.second;
        if (cell.measured && cell.key.operation == operation && cell.key.library == library &&
            cell.key.input == input) {
            return &cell;
        }
    }
    return nullptr;
}

std::string Table::markdown() const {
    std::string text = throughputTable();
    bool noisy = std::any_of(m_cells.begin(), m_cells.end(),
                             [](const auto& entry) { return entry.second.spread > kNoisySpread; });
    if (noisy) text += "\n~ runs of one cell differed by more than 10%: the machine was busy.\n";
    return text + "\n" + allocationTable() + "\n" + growthTable();
}

// MB/s of input (1 MB = 2^20 bytes) and, in brackets, time relative to
// plain Xerces-C: 1.05 is 5% slower.
std::string Table::throughputTable() const {
    std::ostringstream out;
    out << "| input | operation | memcpy |";
    for (const std::string& library : m_libraries) out << " " << library << " |";
    out << "\n|---|---|---:|";
    for (std::size_t i = 0; i < m_libraries.size(); ++i) out << "---:|";
    out << "\n";
    for (const std::string& input : m_inputs) {
        const Cell* copy = find("memcpy", "memcpy", input);
        for (const char* operation : kOperations) {
            const Cell* reference = find(operation, kReference, input);
            bool any = false;
            std::ostringstream row;
            row << "| " << input << " | " << operation << " | ";
            row << (copy ? format("%.0f", megabytesPerSecond(copy->key.megabytes, copy->seconds)) : "")
                << " |";
            for (const std::string& library : m_libraries) {
                const Cell* cell = find(operation, library, input);
                row << " ";
                if (cell && cell->failed) {
                    row << "error";
                } else if (cell) {
                    any = true;
                    row << format("%.1f", megabytesPerSecond(cell->key.megabytes, cell->seconds));
                    if (reference && !reference->failed)
                        row << format(" (%.2f)", cell->seconds / reference->seconds);
                    if (cell->spread > kNoisySpread) row << " ~";
                }
                row << " |";
            }
            if (any) out << row.str() << "\n";
        }
    }
    return out.str();
}

std::string Table::allocationTable() const {
    std::ostringstream out;
    out << "| walk allocations per element |";
    for (const std::string& library : m_libraries) out << " " << library << " |";
    out << "\n|---|";
    for (std::size_t i = 0; i < m_libraries.size(); ++i) out << "---:|";
    out << "\n";
    for (const std::string& input : m_inputs) {
        std::ostringstream row;
        bool any = false;
        row << "| " << input << " |";
        for (const std::string& library : m_libraries) {
            const Cell* cell = find("walk", library, input);
            row << " ";
            if (cell && !cell->failed && cell->allocationsPerElement >= 0) {
                any = true;
                row << format("%.2f", cell->allocationsPerElement);
            }
            row << " |";
        }
        if (any) out << row.str() << "\n";
    }
    return out.str();
}

// Time per MB at the largest size divided by time per MB at the smallest,
// per shape and script: 1.00 is linear.
std::string Table::growthTable() const {
    std::size_t smallest = SIZE_MAX, largest = 0;
    for (const auto& entry : m_cells) {
        if (!entry.second.measured) continue;
        smallest = std::min(smallest, entry.second.key.megabytes);
        largest = std::max(largest, entry.second.key.megabytes);
    }
    if (largest <= smallest) return "";
    std::vector<std::string> kinds;
    for (const std::string& input : m_inputs) {
        std::string kind = input.substr(input.find('/') + 1);
        if (kind.find("short") == std::string::npos &&
            std::find(kinds.begin(), kinds.end(), kind) == kinds.end()) {
            kinds.push_back(kind);
        }
    }
    std::ostringstream out;
    out << "| time per MB, " << largest << " MB / " << smallest << " MB | operation |";
    for (const std::string& kind : kinds) out << " " << kind << " |";
    out << "\n|---|---|";
    for (std::size_t i = 0; i < kinds.size(); ++i) out << "---:|";
    out << "\n";
    for (const std::string& library : m_libraries) {
        for (const char* operation : kOperations) {
            std::ostringstream row;
            bool any = false;
            row << "| " << library << " | " << operation << " |";
            for (const std::string& kind : kinds) {
                const Cell* small = find(operation, library, std::to_string(smallest) + "MB/" + kind);
                const Cell* large = find(operation, library, std::to_string(largest) + "MB/" + kind);
                row << " ";
                if (small && large && !small->failed && !large->failed) {
                    any = true;
                    double perMbSmall = small->seconds / static_cast<double>(small->key.megabytes);
                    double perMbLarge = large->seconds / static_cast<double>(large->key.megabytes);
                    row << format("%.2f", perMbLarge / perMbSmall);
                }
                row << " |";
            }
            if (any) out << row.str() << "\n";
        }
    }
    return out.str();
}

void TableReporter::ReportRuns(const std::vector<Run>& runs) {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) m_table.record(run);
}

}  // namespace bench
