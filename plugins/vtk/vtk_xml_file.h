#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "plugins/mesh_support/mesh_bytes.h"

namespace vyn::plugins {

/// A text as the value of an attribute.
inline std::string vtk_escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '&')
            result += "&amp;";
        else if (c == '<')
            result += "&lt;";
        else if (c == '"')
            result += "&quot;";
        else
            result += c;
    }
    return result;
}

/// The elements of the file and, behind them, their data: a first pass announces the arrays, a
/// second one writes them, in the same order.
class VtkXmlFile {
  public:
    VtkXmlFile(const std::filesystem::path& file, Progress& progress) : out_(file, progress) {}

    MeshWriter& text() { return out_; }

    template <class T>
    void array(const char* type, const std::string& name, int components, const T* values,
               std::size_t count) {
        out_ << "<DataArray type=\"" << type << "\" Name=\"" << vtk_escaped(name)
             << "\" NumberOfComponents=\"" << components << "\" NumberOfTuples=\""
             << count / static_cast<std::size_t>(components) << "\" format=\"appended\" offset=\""
             << offset_ << "\"/>\n";
        blocks_.push_back({reinterpret_cast<const char*>(values), count * sizeof(T)});
        offset_ += count * sizeof(T) + 8;
    }

    void texts(const char* name, const std::vector<std::string>& texts) {
        out_ << "<Array type=\"String\" Name=\"" << name << "\" NumberOfTuples=\"" << texts.size()
             << "\" format=\"ascii\">";
        for (const std::string& text : texts) {
            for (const char c : text)
                out_ << int{static_cast<unsigned char>(c)} << ' ';
            out_ << "0 ";
        }
        out_ << "</Array>\n";
    }

    void finish() {
        out_ << "<AppendedData encoding=\"raw\">\n_";
        for (const auto& block : blocks_) {
            out_.put(static_cast<std::uint64_t>(block.size()));
            constexpr std::size_t piece = std::size_t{1} << 20;
            for (std::size_t at = 0; at < block.size(); at += piece)
                out_ << block.substr(at, piece);
        }
        out_ << "\n</AppendedData>\n</VTKFile>\n";
        out_.finish();
    }

  private:
    MeshWriter out_;
    std::vector<std::string_view> blocks_;
    std::size_t offset_ = 0;
};

}  // namespace vyn::plugins
