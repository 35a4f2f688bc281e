#pragma once
#include <string_view>

#include "foundation/Value.h"

namespace qsml {

/// What comes with a program or library beside its code: information under string keys, such as
/// "QSMediaLibraryBundlePath" and "CFBundleShortVersionString", and resource files. Thread-safe.
class QSML_EXPORT Bundle {
public:
    /// The host application's. Its information is what the host sets; its resources are in the
    /// folder of the program unless the host names another.
    static Bundle& main();
    /// This library's own. Its resources are in share/QSMediaLibraryData beside the folder of the
    /// shared library or of the program, up to two folders further up, so that an installation may
    /// be moved as a whole; else where the build was configured to install them. The host may name
    /// another folder, which a program that links the library statically and keeps the resources
    /// elsewhere must do.
    static Bundle& library();

    Bundle(const Bundle&) = delete;
    Bundle& operator=(const Bundle&) = delete;

    /// Nil where the host set nothing.
    Value infoValue(std::string_view key) const;
    /// Nil removes.
    void setInfoValue(std::string_view key, Value value);

    /// The folder of the resources; nothing when there is none.
    std::optional<URL> resourceURL() const;
    /// Nothing restores the folder that is found without being named.
    void setResourceURL(std::optional<URL> folder);
    /// The file NAME.EXTENSION in the resource folder, or in a folder directly in it unless that is
    /// empty. Nothing when it does not exist, or a part is no plain file name.
    std::optional<URL> URLForResource(std::string_view name, std::string_view extension,
                                      std::string_view subdirectory = {}) const;

private:
    struct Content;
    using FindFolder = std::optional<URL> (*)();
    explicit Bundle(FindFolder findFolder);
    ~Bundle() = delete;  // threads that outlive main() may still look

    const FindFolder findFolder_;
    Content& content_;
};

}  // namespace qsml
