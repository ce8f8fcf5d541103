// lorq-make-story: an NTFS volume on which files are made, linked, renamed, moved and deleted, its change journal with
// a record of each step, and the list that is kept of it: for every record the status and the path that must be told.
// Made through mkntfs and libntfs-3g; nothing is mounted. See usage below.
#include "base/utf.h"
#include "bench/ntfs_library.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

constexpr std::string_view usage =
    "usage: lorq-make-story IMAGE LIST BIG [DIRECTORIES FILES RECORDS]\n"
    "  BIG          files of the largest directory of the story\n"
    "  DIRECTORIES  and so on: no story but so many directories and files, with so many records in no order, a tenth\n"
    "               of them of directories, of which a tenth had another name in the first half\n"
    "LIST has a line for each record, with tabs between status, path and the FILETIME of the file's creation. It was "
    "modified\n"
    "a tenth of a second later, accessed three tenths later. A file that was linked has no time there.\n";

using file_ref = std::uint64_t;
using bytes = std::vector<std::uint8_t>;

constexpr file_ref reference(std::uint64_t entry, std::uint64_t sequence) { return sequence << 48U | entry; }

template <typename T>
void poke(bytes& into, std::size_t at, T number) {
    std::memcpy(into.data() + at, &number, sizeof number);
}

constexpr std::uint64_t first_time = 130'000'000'000'000'000;

std::u16string numbered(std::u16string_view text, std::uint64_t number) {
    std::u16string out(text);
    for (const char c : std::to_string(number)) out += static_cast<char16_t>(c);
    return out;
}

file_ref reference_of(const ntfs_inode* inode) {
    return reference(inode->mft_no, le16_to_cpu(inode->mrec->sequence_number));
}

class story {
public:
    story(const std::string& image, std::uint64_t size) {
        volume_ = make_empty_volume(image, static_cast<s64>(size), "");
        ntfs_log_set_handler(ntfs_log_handler_stderr);
        directories_[root] = {u"", root};
    }

    static constexpr file_ref root = reference(5, 5);

    file_ref create(file_ref folder, std::u16string_view name, bool directory = false) {
        inode_handle parent = open(folder);
        ntfs_inode* const made =
            ntfs_create(parent.get(), const_cpu_to_le32(0), units(name), count(name), directory ? S_IFDIR : S_IFREG);
        demand(made != nullptr, "cannot make " + to_utf8(name));
        const file_ref file = reference_of(made);
        if (!directory) {
            const std::uint64_t time = first_time + 1'000'000'000 * ++clock_;
            set_times(made, time);
            times_[file] = time;
        } else {
            directories_[file] = {std::u16string(name), folder};
            ever_directories_.insert(file);
        }
        demand(ntfs_inode_close_in_dir(made, parent.get()) == 0, "cannot close a file");
        links_.insert({folder, file});
        note(file, folder, name);
        return file;
    }

    void link(file_ref file, file_ref folder, std::u16string_view name) {
        {
            inode_handle parent = open(folder);
            ntfs_inode* const inode = open(file).release();
            demand(ntfs_link(inode, parent.get(), units(name), count(name)) == 0, "cannot link " + to_utf8(name));
            demand(ntfs_inode_close_in_dir(inode, parent.get()) == 0, "cannot close a file");
        }
        links_.insert({folder, file});
        times_.erase(file);
        note(file, folder, name);
    }

    // The name's DOS twin.
    void give_dos_name(file_ref file, file_ref folder, const char* name) {
        ntfs_inode* const parent = open(folder).release();  // the call closes both
        demand(ntfs_set_ntfs_dos_name(open(file).release(), parent, name, std::strlen(name), 0) == 0, "no DOS name");
        std::u16string wide;
        for (const char* c = name; *c != 0; ++c) wide += static_cast<char16_t>(*c);
        times_.erase(file);
        note(file, folder, wide);
    }

    void unlink(file_ref file, file_ref folder, std::u16string_view name, bool last) {
        ntfs_inode* const parent = open(folder).release();
        demand(ntfs_delete(volume_, nullptr, open(file).release(), parent, units(name), count(name)) == 0,
               "cannot delete " + to_utf8(name));
        note(file, folder, name);
        if (last || !named_elsewhere_.contains(file)) links_.erase({folder, file});
        if (last) directories_.erase(file);
    }

    void rename(file_ref file, file_ref from, std::u16string_view old_name, file_ref to, std::u16string_view name) {
        link(file, to, name);
        if (from == to) named_elsewhere_.insert(file);
        unlink(file, from, old_name, false);
        named_elsewhere_.erase(file);
    }

    // A directory's name says that it lies in `parent`, which no index does.
    void mislead(file_ref directory, file_ref parent) {
        const inode_handle inode = open(directory);
        const stream_handle name = open_stream(inode.get(), AT_FILE_NAME, u"");
        const le64 value = cpu_to_le64(parent);
        demand(ntfs_attr_pwrite(name.get(), 0, sizeof value, &value) == sizeof value, "no name");
        directories_.at(directory).parent = parent;
    }

    void move_index_out(file_ref directory) { move_out(open(directory).get(), AT_INDEX_ALLOCATION, u"$I30"); }

    static void set_times(ntfs_inode* inode, std::uint64_t time) {
        const std::array<std::uint64_t, 3> times{time, time + 1'000'000,
                                                 time + 3'000'000};  // created, modified, accessed
        demand(ntfs_inode_set_times(inode, reinterpret_cast<const char*>(times.data()), sizeof times, 0) == 0,
               "no times");
    }

    void note(file_ref file, file_ref folder, std::u16string_view name) {
        events_.push_back({folder, file, std::u16string(name)});
    }

    void finish(const std::string& list) {
        write_journal();
        demand(ntfs_umount(volume_, FALSE) == 0, "the volume cannot be closed");
        std::ofstream out(list, std::ios::binary);
        for (const event& one : events_) out << expected(one) << '\n';
        demand(out.good(), list + " cannot be written");
    }

private:
    struct folder_name {
        std::u16string name;
        file_ref parent = 0;
    };
    struct event {
        file_ref folder = 0;
        file_ref file = 0;
        std::u16string name;
    };

    inode_handle open(file_ref file) {
        inode_handle inode(ntfs_inode_open(volume_, file));
        demand(inode != nullptr, "a file cannot be opened");
        return inode;
    }

    // What a decoder keeps of a name.
    static std::u16string kept(const std::u16string& name) { return name.size() > 200 ? name.substr(0, 10) : name; }

    [[nodiscard]] std::string expected(const event& one) const {
        if (!directories_.contains(one.folder)) return "del/parent\tparent dir and file no longer referenced in $MFT\t";
        std::u16string path;
        std::set<file_ref> visited;
        for (file_ref at = one.folder; at != root; at = directories_.at(at).parent) {
            if (!visited.insert(at).second) {
                path.insert(0, u"<path corrupted>\\");
                break;
            }
            path.insert(0, directories_.at(at).name + u"\\");
        }
        const bool alive = links_.contains({one.folder, one.file});
        std::string line = (alive ? "valid\t[root]\\" : "del/entry\t[root]\\") + to_utf8(path + kept(one.name)) + "\t";
        const auto time = times_.find(one.file);
        return time == times_.end() ? line : line + std::to_string(time->second);
    }

    void write_journal() {
        constexpr std::size_t page = 4096;
        bytes journal(16 * page);
        std::uint64_t time = first_time;
        for (const event& one : events_) {
            bytes record((60 + one.name.size() * 2 + 7) / 8 * 8);
            if (record.size() > page - journal.size() % page) journal.resize((journal.size() / page + 1) * page);
            poke(record, 0, static_cast<std::uint32_t>(record.size()));
            poke(record, 4, std::uint16_t{2});
            poke(record, 8, one.file);
            poke(record, 16, one.folder);
            poke(record, 24, std::uint64_t{journal.size()});
            poke(record, 32, time += 10'000'000);
            poke(record, 40, std::uint32_t{0x80000100});
            poke(record, 52, ever_directories_.contains(one.file) ? std::uint32_t{0x10} : std::uint32_t{0x20});
            poke(record, 56, static_cast<std::uint16_t>(one.name.size() * 2));
            poke(record, 58, std::uint16_t{60});
            std::memcpy(record.data() + 60, one.name.data(), one.name.size() * 2);
            journal.insert(journal.end(), record.begin(), record.end());
        }
        journal.resize((journal.size() / page + 1) * page);
        const std::u16string_view file = u"$UsnJrnl";
        const inode_handle extend(ntfs_inode_open(volume_, 11));
        const inode_handle made(ntfs_create(extend.get(), const_cpu_to_le32(0), units(file), count(file), S_IFREG));
        demand(made != nullptr, "no $UsnJrnl");
        const stream_handle stream = add_stream(made.get(), u"$J");
        const s64 size = std::ssize(journal);
        demand(ntfs_attr_truncate(stream.get(), size) == 0 &&
                   ntfs_attr_pwrite(stream.get(), 0, size, journal.data()) == size,
               "no $J");
    }

    ntfs_volume* volume_ = nullptr;
    std::map<file_ref, folder_name> directories_;  // those that live
    std::set<file_ref> ever_directories_;
    std::set<std::pair<file_ref, file_ref>> links_;
    std::set<file_ref> named_elsewhere_;  // in the same directory
    std::map<file_ref, std::uint64_t> times_;
    std::vector<event> events_;
    std::uint64_t clock_ = 0;
};

void tell(story& told, std::uint64_t big) {
    const file_ref root = story::root;
    const file_ref alpha = told.create(root, u"alpha", true);
    const file_ref beta = told.create(alpha, u"beta \u00E9\u4E2D\u6587", true);
    const file_ref gamma = told.create(beta, std::u16string(200, u'g'), true);
    const file_ref letter = told.create(gamma, std::u16string(215, u'n'));
    told.create(root, u"\u0416.txt");
    const file_ref shared = told.create(alpha, u"shared");
    told.link(shared, beta, u"shared too");
    told.rename(letter, gamma, std::u16string(215, u'n'), gamma, u"letter.txt");
    const file_ref moved = told.create(alpha, u"moved.txt");
    told.rename(moved, alpha, u"moved.txt", gamma, u"arrived.txt");
    const file_ref dos = told.create(alpha, u"a name with a short one.text");
    told.give_dos_name(dos, alpha, "ANAMEW~1.TEX");

    const file_ref large = told.create(root, u"large", true);
    std::vector<file_ref> files;
    for (std::uint64_t i = 0; i < big; ++i)
        files.push_back(told.create(large, numbered(u"a file of the name ", i * 7919 % big)));
    for (std::uint64_t i = 0; i < big; i += 3)
        told.unlink(files[i], large, numbered(u"a file of the name ", i * 7919 % big), true);
    told.move_index_out(large);

    const file_ref gone = told.create(root, u"gone", true);
    const file_ref reused = told.create(root, u"reused", true);
    const file_ref in_gone = told.create(gone, u"in gone");
    const file_ref in_reused = told.create(reused, u"in reused");
    told.unlink(in_gone, gone, u"in gone", true);
    told.unlink(in_reused, reused, u"in reused", true);
    told.unlink(reused, root, u"reused", true);
    told.create(told.create(root, u"another", true), u"in another");
    told.unlink(gone, root, u"gone", true);
    told.create(root, u"no directory any more");

    const file_ref many = told.create(alpha, u"60 names");
    for (std::uint64_t i = 0; i < 59; ++i)
        told.link(many, i % 2 == 0 ? alpha : beta, numbered(u"one of many names of a file ", i));

    const file_ref upper = told.create(root, u"upper", true);
    const file_ref lower = told.create(upper, u"lower", true);
    told.create(lower, u"nowhere");
    told.mislead(upper, lower);
}

void populate(story& told, std::uint64_t directories, std::uint64_t files, std::uint64_t records) {
    std::mt19937_64 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same story every time
    std::vector<file_ref> folders;
    std::vector<file_ref> above;
    std::vector<std::pair<std::size_t, file_ref>> made;
    for (std::uint64_t i = 0; i < directories; ++i) {
        above.push_back(i < 20 ? story::root : folders[random() % std::min<std::uint64_t>(i, 2000)]);
        folders.push_back(told.create(above[i], numbered(u"folder ", i), true));
        for (std::uint64_t j = i * files / directories; j < (i + 1) * files / directories; ++j) {
            made.emplace_back(i, told.create(folders[i], numbered(u"document number ", j)));
        }
    }
    for (std::uint64_t i = made.size() + folders.size(); i < records; ++i) {
        if (i % 10 == 0) {
            const std::size_t folder = random() % folders.size();
            const bool had_another = folder % 10 == 0 && i < records / 2;
            told.note(folders[folder], above[folder],
                      numbered(had_another ? u"the earlier folder " : u"folder ", folder));
            continue;
        }
        const std::size_t file = random() % made.size();
        told.note(made[file].second, folders[made[file].first], numbered(u"document number ", file));
    }
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 4 && argc != 7) {
        (void)std::fputs(std::string(usage).c_str(), stderr);
        return 2;
    }
    const std::vector<std::string> words(argv + 1, argv + argc);
    story told(words[0], words.size() == 3 ? (64U << 20U) + std::stoull(words[2]) * 4096 : std::uint64_t{2} << 30U);
    if (words.size() == 3) {
        tell(told, std::stoull(words[2]));
    } else {
        populate(told, std::stoull(words[3]), std::stoull(words[4]), std::stoull(words[5]));
    }
    told.finish(words[1]);
    return 0;
} catch (const std::exception& error) {
    (void)std::fprintf(stderr, "lorq-make-story: %s\n", error.what());
    return 1;
}
