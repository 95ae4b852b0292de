#include "InterfaceDiff.h"

#include <algorithm>
#include <map>

#include "TextFormat.h"

namespace kovhost {

namespace {

// Plain copies of the rule file info, easier to pair and compare than the library's objects.
struct ArgumentData {
    std::string key;
    std::string value;
};

struct AnnotationData {
    std::string name;
    std::string text;
    std::vector<ArgumentData> arguments;
};

struct ParameterData {
    std::string name;
    std::string type;
    std::vector<AnnotationData> annotations;
};

struct EntryData {
    std::string name;
    std::string type;
    std::vector<ParameterData> parameters;
    std::vector<AnnotationData> annotations;

    std::string signature() const {
        std::string text;
        for (const ParameterData& parameter : parameters)
            text += (text.empty() ? "" : ", ") + parameter.type + " " + parameter.name;
        return "(" + text + ")";
    }
    std::string parameterTypes() const {
        std::string text;
        for (const ParameterData& parameter : parameters)
            text += parameter.type + ";";
        return text;
    }
};

AnnotationData annotationData(const kov::Annotation& annotation) {
    AnnotationData data{utf8(annotation.getName()), annotationText(annotation), {}};
    for (size_t i = 0; i < annotation.getNumArguments(); ++i) {
        const kov::AnnotationArgument& argument = *annotation.getArgument(i);
        const std::string key = utf8(argument.getKey());
        std::string value = argumentText(argument);
        if (!key.empty())
            value.erase(0, key.size() + 1);
        data.arguments.push_back({key, value});
    }
    return data;
}

template <typename Owner> std::vector<AnnotationData> annotationsOf(const Owner& owner) {
    std::vector<AnnotationData> annotations;
    for (size_t i = 0; i < owner.getNumAnnotations(); ++i)
        if (!isCompilerMarker(*owner.getAnnotation(i)))
            annotations.push_back(annotationData(*owner.getAnnotation(i)));
    return annotations;
}

EntryData entryData(const kov::RuleFileInfo::Entry& entry) {
    EntryData data{utf8(entry.getName()), valueTypeWord(entry.getReturnType()), {},
                   annotationsOf(entry)};
    for (size_t i = 0; i < entry.getNumParameters(); ++i) {
        const kov::RuleFileInfo::Parameter& parameter = *entry.getParameter(i);
        data.parameters.push_back({utf8(parameter.getName()), valueTypeWord(parameter.getType()),
                                   annotationsOf(parameter)});
    }
    return data;
}

// Pairs of equal keys, the nth of one key with the nth of the same key; index -1 where one side
// has none. Order: the old side's, then what only the new side has.
template <typename T, typename Key>
std::vector<std::pair<const T*, const T*>> pairUp(const std::vector<T>& before,
                                                  const std::vector<T>& after, Key key) {
    std::map<std::string, std::vector<const T*>> unmatched;
    for (const T& item : after)
        unmatched[key(item)].push_back(&item);
    std::vector<std::pair<const T*, const T*>> pairs;
    for (const T& item : before) {
        std::vector<const T*>& candidates = unmatched[key(item)];
        if (candidates.empty()) {
            pairs.push_back({&item, nullptr});
        } else {
            pairs.push_back({&item, candidates.front()});
            candidates.erase(candidates.begin());
        }
    }
    for (const T& item : after) {
        const std::vector<const T*>& left = unmatched[key(item)];
        for (const T* candidate : left)
            if (candidate == &item)
                pairs.push_back({nullptr, &item});
    }
    return pairs;
}

class Differ {
public:
    std::vector<Change> changes;

    void entries(const char* section, const std::vector<EntryData>& before,
                 const std::vector<EntryData>& after) {
        // Overloads of one name: those with the same parameter types first, then in order.
        auto exact = pairUp(before, after, [](const EntryData& e) {
            return e.name + e.parameterTypes();
        });
        std::vector<EntryData> removed;
        std::vector<EntryData> added;
        for (const auto& [old, now] : exact) {
            if (old && now)
                entry(section, *old, *now);
            else if (old)
                removed.push_back(*old);
            else
                added.push_back(*now);
        }
        const bool rules = std::string(section) == "rules";
        for (const auto& [old, now] :
             pairUp(removed, added, [](const EntryData& e) { return e.name; })) {
            if (old && now)
                entry(section, *old, *now);
            else if (old)
                add(section, old->name, "removed", ChangeClass::BREAKING,
                    "removed: " + shape(*old, rules), shape(*old, rules), "");
            else
                add(section, now->name, "added", ChangeClass::COMPATIBLE,
                    "added: " + shape(*now, rules), "", shape(*now, rules));
        }
    }

    void annotations(const std::string& section, const std::string& name,
                     const std::string& prefix, const std::vector<AnnotationData>& before,
                     const std::vector<AnnotationData>& after) {
        for (const auto& [old, now] :
             pairUp(before, after, [](const AnnotationData& a) { return a.name; })) {
            const AnnotationData& some = old ? *old : *now;
            const char* called = calledOut(some.name);
            std::string lead = prefix;
            if (called) {
                std::string label = called;
                std::replace(label.begin(), label.end(), '-', ' ');
                lead += label + ": ";
            }
            auto kind = [&](const char* plain) { return called ? called : plain; };
            if (!now) {
                add(section, name, kind("annotation-removed"), ChangeClass::PRESENTATION,
                    lead + old->text + " removed", old->text, "");
            } else if (!old) {
                add(section, name, kind("annotation-added"), ChangeClass::PRESENTATION,
                    lead + now->text + " added", "", now->text);
            } else if (old->text != now->text) {
                std::vector<ArgumentChange> arguments = argumentChanges(*old, *now);
                // Keyed arguments in another order are the same annotation.
                if (arguments.empty())
                    continue;
                std::string text;
                for (const ArgumentChange& a : arguments)
                    text += (text.empty() ? "" : ", ") +
                            (a.key.empty() ? "#" + std::to_string(a.position) + ": " : a.key + "=") +
                            (a.before.empty() ? "(none)" : a.before) + " → " +
                            (a.after.empty() ? "(none)" : a.after);
                add(section, name, kind("annotation-changed"), ChangeClass::PRESENTATION,
                    lead + old->name + "(" + text + ")", old->text, now->text);
                changes.back().arguments = std::move(arguments);
            }
        }
    }

private:
    // The annotations that order and group entries in a user interface.
    static const char* calledOut(const std::string& name) {
        if (name == "$Group")
            return "group";
        if (name == "$Order")
            return "order";
        if (name == "$StartRule")
            return "start-rule";
        return nullptr;
    }

    static std::string shape(const EntryData& entry, bool rule) {
        return entry.type + (rule ? " " + entry.name + entry.signature() : "");
    }

    // Keyed arguments by key wherever they stand (a repeated key, its nth use with the nth), the
    // others by their position among the unkeyed ones.
    static std::vector<ArgumentChange> argumentChanges(const AnnotationData& before,
                                                       const AnnotationData& after) {
        struct Slot {
            ArgumentChange change;
            size_t use; // of its key, for a keyed argument
        };
        std::vector<Slot> slots;
        auto fill = [&slots](const AnnotationData& annotation, std::string ArgumentChange::*side) {
            size_t position = 0;
            std::map<std::string, size_t> uses;
            for (const ArgumentData& argument : annotation.arguments) {
                const size_t at = argument.key.empty() ? ++position : 0;
                const size_t use = argument.key.empty() ? 0 : uses[argument.key]++;
                auto it = std::find_if(slots.begin(), slots.end(), [&](const Slot& slot) {
                    return slot.change.key == argument.key && slot.change.position == at &&
                           slot.use == use;
                });
                if (it == slots.end())
                    it = slots.insert(slots.end(), {{argument.key, at, "", ""}, use});
                it->change.*side = argument.value;
            }
        };
        fill(before, &ArgumentChange::before);
        fill(after, &ArgumentChange::after);
        std::vector<ArgumentChange> changed;
        for (const Slot& slot : slots)
            if (slot.change.before != slot.change.after)
                changed.push_back(slot.change);
        return changed;
    }

    void entry(const char* section, const EntryData& before, const EntryData& after) {
        const bool rules = std::string(section) == "rules";
        if (before.type != after.type)
            add(section, before.name, "type", ChangeClass::BREAKING,
                std::string(rules ? "return" : "value") + " type " + before.type + " → " +
                    after.type,
                before.type, after.type);
        parameters(section, before, after);
        annotations(section, before.name, "", before.annotations, after.annotations);
    }

    void parameters(const char* section, const EntryData& before, const EntryData& after) {
        const auto& old = before.parameters;
        const auto& now = after.parameters;
        auto text = [](const ParameterData& p) { return p.type + " " + p.name; };
        auto breaking = [&](const char* kind, const std::string& description,
                            const std::string& was, const std::string& is) {
            add(section, before.name, kind, ChangeClass::BREAKING, description, was, is);
        };
        if (old.size() == now.size()) {
            for (size_t i = 0; i < old.size(); ++i) {
                const std::string where = "parameter " + std::to_string(i + 1);
                if (old[i].name != now[i].name)
                    breaking("parameter-renamed",
                             where + " renamed: " + old[i].name + " → " + now[i].name,
                             old[i].name, now[i].name);
                if (old[i].type != now[i].type)
                    breaking("parameter-retyped",
                             where + " retyped: " + old[i].type + " → " + now[i].type,
                             text(old[i]), text(now[i]));
                annotations(section, before.name, where + " " + now[i].name + ": ",
                            old[i].annotations, now[i].annotations);
            }
            return;
        }
        for (const auto& [was, is] :
             pairUp(old, now, [](const ParameterData& p) { return p.name; })) {
            if (!is)
                breaking("parameter-removed", "parameter removed: " + text(*was), text(*was), "");
            else if (!was)
                breaking("parameter-added", "parameter added: " + text(*is), "", text(*is));
            else if (was->type != is->type)
                breaking("parameter-retyped",
                         "parameter " + is->name + " retyped: " + was->type + " → " + is->type,
                         text(*was), text(*is));
        }
    }

    void add(const std::string& section, const std::string& name, const std::string& kind,
             ChangeClass changeClass, const std::string& description, const std::string& before,
             const std::string& after) {
        changes.push_back({section, name, kind, changeClass, description, before, after, {}});
    }
};

template <typename Get>
std::vector<EntryData> entriesOf(size_t count, Get get) {
    std::vector<EntryData> entries;
    for (size_t i = 0; i < count; ++i)
        entries.push_back(entryData(*get(i)));
    return entries;
}

} // namespace

const char* changeClassWord(ChangeClass changeClass) {
    switch (changeClass) {
    case ChangeClass::BREAKING: return "breaking";
    case ChangeClass::COMPATIBLE: return "compatible";
    default: return "presentation";
    }
}

std::vector<Change> diffInterfaces(const kov::RuleFileInfo& before,
                                   const kov::RuleFileInfo& after) {
    Differ differ;
    differ.entries("attributes",
                   entriesOf(before.getNumAttributes(), [&](size_t i) { return before.getAttribute(i); }),
                   entriesOf(after.getNumAttributes(), [&](size_t i) { return after.getAttribute(i); }));
    differ.entries("rules",
                   entriesOf(before.getNumRules(), [&](size_t i) { return before.getRule(i); }),
                   entriesOf(after.getNumRules(), [&](size_t i) { return after.getRule(i); }));
    const std::vector<AnnotationData> old = annotationsOf(before);
    const std::vector<AnnotationData> now = annotationsOf(after);
    // The file's own annotations are named by themselves.
    for (const auto& [was, is] :
         pairUp(old, now, [](const AnnotationData& a) { return a.name; }))
        differ.annotations("annotations", (was ? was : is)->name, "",
                           was ? std::vector<AnnotationData>{*was} : std::vector<AnnotationData>{},
                           is ? std::vector<AnnotationData>{*is} : std::vector<AnnotationData>{});
    return differ.changes;
}

} // namespace kovhost
