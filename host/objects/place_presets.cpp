// Presets that are applied to a place: profiles and colors. Their files have the form of the preferences.
#include "host/objects/presets.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/state/preference_file.h"
#include "host/state/text.h"
#include "host/state/value_types.h"

#include "kz/color.h"
#include "kz/profile.h"
#include "kz/result.h"

#include <fmt/format.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

using Numbers = std::vector<std::array<double, 2>>;
constexpr const char* presetKind = "preset";
constexpr const char* pointKind = "point";

KzResult refuse(KzResult code, const std::string& why) {
    return kzBecause(code, "Presets", [&] { return why; });
}

// What a file holds: the type of the preset, more about it, and rows of numbers.
struct PlaceFile {
    std::string form;  // "1D", "2D", "closed" or "color"
    Numbers rows;
};

bool read(const std::string& path, const char* type, PlaceFile& file) {
    PreferenceRecords all;
    std::string why;
    if (!kzReadPreferences(path, all, why)) return false;
    const auto kind = all.records.find({presetKind, "type"}), form = all.records.find({presetKind, "form"});
    if (kind == all.records.end() || kind->second != PreferenceFields{type} || form == all.records.end()) return false;
    file.form = form->second.empty() ? std::string() : form->second.front();
    for (const auto& [key, fields] : all.records) {
        if (key.first != pointKind || fields.size() != 2) continue;
        const auto first = kzParseNumber(fields[0]), second = kzParseNumber(fields[1]);
        if (!first || !second) return false;
        file.rows.push_back({*first, *second});
    }
    return true;
}

KzResult write(const std::string& path, const char* type, const PlaceFile& file) {
    PreferenceRecords all;
    all.records[{presetKind, "type"}] = {type};
    all.records[{presetKind, "form"}] = {file.form};
    for (std::size_t i = 0; i < file.rows.size(); ++i)
        all.records[{pointKind, fmt::format("{:06}", i)}] = {fmt::format("{}", file.rows[i][0]),
                                                             fmt::format("{}", file.rows[i][1])};
    std::string why;
    return kzWritePreferences(path, all, why) ? KZe_OK : refuse(KZe_NOACCESS, why);
}

// The slopes are those of the lines between the keys.
void applyKeys(const CKzUser_Profile1DPreDest& place, const Numbers& keys) {
    kzDemandGiven(place.ClearKeys());
    for (const auto& [position, value] : keys) {
        std::uint32_t index = 0;
        if (const KzResult code = place.AddKey(position, value, &index); kzFailed(code)) throw code;
    }
    const auto slope = [&](std::size_t from) {
        if (from + 1 >= keys.size() || keys[from + 1][0] == keys[from][0]) return 0.0;
        return (keys[from + 1][1] - keys[from][1]) / (keys[from + 1][0] - keys[from][0]);
    };
    if ((place.Flags() & KZfPROFILE_SLOPES) != 0)
        for (std::size_t i = 0; i < keys.size(); ++i)
            kzDemandGiven(place.SetKeySlopes(static_cast<std::uint32_t>(i), i > 0 ? slope(i - 1) : 0, slope(i)));
    if (!keys.empty()) kzDemandGiven(place.SetRange(keys.front()[0], keys.back()[0]));
    kzDemandGiven(place.Done());
}

void applyPoints(const CKzUser_Profile2DPreDest& place, const PlaceFile& file) {
    kzDemandGiven(place.ClearPoints());
    for (const auto& [x, y] : file.rows) {
        std::uint32_t index = 0;
        if (const KzResult code = place.AddPoint(x, y, &index); kzFailed(code)) throw code;
    }
    kzDemandGiven(place.SetClosed(file.form == "closed" ? 1 : 0));
    kzDemandGiven(place.Done());
}

class CProfilePresets final : public CHosted<"profile presets", CProfilePresets, CKzIfc_PresetType> {
public:
    KzResult ptyp_Recognize(const char* path, const char** category) override {
        PlaceFile file;
        if (!read(kzString(path), KZsPRESETTYPE_PROFILE, file)) return KZe_NOTFOUND;
        *category = "profiles";
        return KZe_OK;
    }
    bool ptyp_CanApplyTo(const char* path, IKzUnknown* destination) override {
        PlaceFile file;
        if (!read(kzString(path), KZsPRESETTYPE_PROFILE, file)) return false;
        const CKzUser_Profile2DPreDest outline(destination);
        if (file.form == "1D") return static_cast<bool>(CKzUser_Profile1DPreDest(destination));
        const std::uint32_t need = file.form == "closed" ? KZfPROFILE_CLOSED : KZfPROFILE_OPEN;
        return outline && (outline.Flags() & need) != 0;
    }
    KzResult ptyp_Apply(const char* path, IKzUnknown* destination) override {
        PlaceFile file;
        if (!read(kzString(path), KZsPRESETTYPE_PROFILE, file)) return KZe_NOTFOUND;
        if (!ptyp_CanApplyTo(path, destination))
            return refuse(KZe_NOTSUPPORTED, "the destination takes no profile of the form " + file.form);
        if (file.form == "1D") applyKeys(CKzUser_Profile1DPreDest(destination), file.rows);
        else applyPoints(CKzUser_Profile2DPreDest(destination), file);
        return KZe_OK;
    }
    KzResult ptyp_Save(const char* path, IKzUnknown* source) override;
};

KzResult CProfilePresets::ptyp_Save(const char* path, IKzUnknown* source) {
    PlaceFile file;
    const CKzUser_Profile1DPreDest heights(source);
    const CKzUser_Profile2DPreDest outline(source);
    if (heights) {
        file.form = "1D";
        for (std::uint32_t i = 0, count = heights.KeyCount(); i < count; ++i) {
            double position = 0, height = 0;
            kzDemandGiven(heights.KeyByIndex(i, &position, &height));
            file.rows.push_back({position, height});
        }
    } else if (outline) {
        file.form = (outline.Flags() & KZfPROFILE_CLOSED) != 0 ? "closed" : "2D";
        for (std::uint32_t i = 0, count = outline.PointCount(); i < count; ++i) {
            KzVector2 point{};
            kzDemandGiven(outline.PointByIndex(i, &point));
            file.rows.push_back({point.v[0], point.v[1]});
        }
    } else return refuse(KZe_NOTSUPPORTED, "only a place for profiles has one to save");
    return write(kzString(path), KZsPRESETTYPE_PROFILE, file);
}

class CColorPresets final : public CHosted<"color presets", CColorPresets, CKzIfc_PresetType> {
public:
    KzResult ptyp_Recognize(const char* path, const char** category) override {
        PlaceFile file;
        if (!read(kzString(path), KZsPRESETTYPE_COLOR, file) || file.rows.size() != 2) return KZe_NOTFOUND;
        *category = "colors";
        return KZe_OK;
    }
    bool ptyp_CanApplyTo(const char* path, IKzUnknown* destination) override {
        PlaceFile file;
        const CKzUser_ColorPreDest place(destination);
        if (!place || !read(kzString(path), KZsPRESETTYPE_COLOR, file) || file.rows.size() != 2) return false;
        const KzFVector3 color = colorOf(file);
        return !kzRefuses(place.TestColor(&color));
    }
    KzResult ptyp_Apply(const char* path, IKzUnknown* destination) override {
        PlaceFile file;
        if (!read(kzString(path), KZsPRESETTYPE_COLOR, file) || file.rows.size() != 2) return KZe_NOTFOUND;
        if (!ptyp_CanApplyTo(path, destination)) return refuse(KZe_NOTSUPPORTED, "the destination takes no such color");
        const KzFVector3 color = colorOf(file);
        return CKzUser_ColorPreDest(destination).SetColor(&color, KZfCOLORPREDEST_REPLACE);
    }
    KzResult ptyp_Save(const char* path, IKzUnknown* source) override {
        const CKzUser_ColorPreDest place(source);
        KzFVector3 color{};
        if (!place || kzFailed(place.Color(&color)))
            return refuse(KZe_NOTSUPPORTED, "only a place for colors has one to save");
        return write(kzString(path), KZsPRESETTYPE_COLOR, {"color", {{color.v[0], color.v[1]}, {color.v[2], 0}}});
    }

private:
    static KzFVector3 colorOf(const PlaceFile& file) {
        return {{static_cast<float>(file.rows[0][0]), static_cast<float>(file.rows[0][1]),
                 static_cast<float>(file.rows[1][0])}};
    }
};

}  // namespace

IKzUnknown* kzMakeProfilePresets() { return kzMakeObject<CProfilePresets>(); }
IKzUnknown* kzMakeColorPresets() { return kzMakeObject<CColorPresets>(); }

}  // namespace kzhost
