#pragma once

#include "Tests/hostile/random.h"

#include <string>

/// The ways to name a folder that no policy file has any business with.
struct OutsidePlaces {
    std::string path;     ///< "C:\...": the folder
    std::string url;      ///< "file:///C:/..."
    std::string relative; ///< "../...": from the folder of the policy files
};

/// What stands in the files out there, and must never arrive.
inline constexpr const char* c_canary = "nightingale-5f1c";

/// What a file says about itself that declares a document type. Nothing of such a file may arrive.
inline constexpr const char* c_doctypeMark = "mockingbird-77aa";

/// Makes the text refer to the files out there, or blow itself up through entities.
void MutateOutside(std::string& text, const OutsidePlaces& places, Random& random);

/// The file names out there, with their content.
struct OutsideFile {
    const wchar_t* name;
    std::string content;
};

[[nodiscard]] const OutsideFile* OutsideFiles(std::size_t& count);
