// Writes the seed corpora of the fuzz targets: small class files and rule files that together use
// every constant kind, attribute kind, element value tag, operand format of the code listing and
// annotation form of the rule language, plus ELF seeds for the plug-in scan cut from a real,
// stripped plug-in.
//
//   mkfuzzseeds CORPUS_DIR PLUGIN.so
//
// writes CORPUS_DIR/<target>/<seed>. The committed corpora also hold the files of examples/.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "classwriter/ByteWriter.h"
#include "classwriter/RuleFileBuilder.h"

namespace {

using namespace classwriter;
using Bytes = std::vector<uint8_t>;

void write(const std::string& dir, const std::string& name, const Bytes& bytes) {
    std::filesystem::create_directories(dir);
    std::ofstream out(dir + "/" + name, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!out)
        throw std::runtime_error("cannot write " + dir + "/" + name);
}

uint8_t lo(uint16_t v) { return static_cast<uint8_t>(v); }

ClassWriter namedClass(const std::string& name) {
    ClassWriter w;
    w.thisClass = w.pool.classNamed(name);
    return w;
}

// A header with nothing after it: every count 0.
Bytes emptyClass() {
    ClassWriter w;
    return w.bytes();
}

// A long in the pool's last slot, whose second slot falls outside the pool.
Bytes wideEntryAtEnd() {
    ClassWriter w = namedClass("Wide");
    w.pool.longValue(-1);
    return w.bytes();
}

// One instruction of every operand format, pool operands naming entries of every kind.
Bytes everyOperandFormat() {
    ClassWriter w = namedClass("Listing");
    ConstantPoolBuilder& p = w.pool;
    const uint16_t integer = p.integer(-7);
    const uint16_t floating = p.floating(1.5f);
    const uint16_t text = p.stringOf("text");
    const uint16_t longValue = p.longValue(1LL << 40);
    const uint16_t doubleValue = p.doubleValue(2.25);
    const uint16_t type = p.classNamed("[[Lcom/velmor/gc/Shape$Part;");
    const uint16_t field = p.fieldrefOf("com/velmor/gc/Color", "RED", "Lcom/velmor/gc/Color;");
    const uint16_t method = p.methodrefOf("com/velmor/gc/Builtins", "box", "([IDLjava/lang/String;)V");
    const uint16_t iface = p.interfaceMethodref(type, p.nameAndTypeOf("area", "()D"));
    const uint16_t nameAndType = p.nameAndTypeOf("count", "I");

    ByteWriter c;
    c.u1(0x00);                                     // nop
    c.u1(0x10).u1(0xFB);                            // bipush -5
    c.u1(0x11).u2(0x8000);                          // sipush
    c.u1(0x12).u1(lo(integer));                     // ldc
    c.u1(0x12).u1(lo(floating));
    c.u1(0x12).u1(lo(type));
    c.u1(0x13).u2(text);                            // ldc_w
    c.u1(0x13).u2(nameAndType);
    c.u1(0x14).u2(longValue);                       // ldc2_w
    c.u1(0x14).u2(doubleValue);
    c.u1(0x15).u1(4);                               // iload
    c.u1(0x1A).u1(0x1F).u1(0x24).u1(0x29);          // iload_0, lload_1, fload_2, dload_3
    c.u1(0x84).u1(1).u1(0xFF);                      // iinc
    c.u1(0x99).u2(3);                               // ifeq
    c.u1(0xA7).u2(0xFFFD);                          // goto back
    c.u1(0xC8).u4(5);                               // goto_w
    c.u1(0xA9).u1(2);                               // ret
    c.u1(0xB2).u2(field).u1(0xB3).u2(field);        // getstatic, putstatic
    c.u1(0xB6).u2(method).u1(0xB8).u2(method);      // invokevirtual, invokestatic
    c.u1(0xB9).u2(iface).u1(1).u1(0);               // invokeinterface
    c.u1(0xBB).u2(type).u1(0xBD).u2(type);          // new, anewarray
    c.u1(0xBC).u1(10);                              // newarray int
    c.u1(0xC5).u2(type).u1(2);                      // multianewarray
    c.u1(0xC4).u1(0x15).u2(0x0100);                 // wide iload
    c.u1(0xC4).u1(0x84).u2(0x0100).u2(0xFFFF);      // wide iinc
    c.u1(0xAA);                                     // tableswitch
    while (c.size() % 4 != 0)
        c.u1(0);
    c.u4(12).u4(1).u4(2).u4(4).u4(8);
    c.u1(0xAB);                                     // lookupswitch
    while (c.size() % 4 != 0)
        c.u1(0);
    c.u4(12).u4(2).u4(1).u4(4).u4(7).u4(8);
    c.u1(0x60).u1(0x9A).u2(0).u1(0xCA).u1(0xFE);    // iadd, ifne, breakpoint, impdep1
    c.u1(0xB1);                                     // return

    Code body;
    body.maxStack = 6;
    body.maxLocals = 5;
    body.code = c.data();
    body.exceptions = {{0, 4, 6, type}, {2, 3, 6, 0}};
    Member member;
    member.accessFlags = 0x0029;
    member.nameIndex = p.utf8("list");
    member.descriptorIndex = p.utf8("([[ILjava/lang/String;JZ)Ljava/lang/Object;");
    member.attributes = {codeAttribute(p.utf8("Code"), body)};
    w.methods.push_back(member);
    return w.bytes();
}

// Every attribute kind in the places it appears, and every element value tag.
Bytes everyAttribute() {
    ClassWriter w = namedClass("com/velmor/Attributes");
    ConstantPoolBuilder& p = w.pool;
    w.superClass = p.classNamed("java/lang/Object");
    const uint16_t shape = p.classNamed("com/velmor/Shape");
    w.interfaces = {shape};
    p.unicode({'u', 0xC3, 0xA9});
    const uint16_t number = p.integer(3);
    const uint16_t ratio = p.floating(-0.0f);
    const uint16_t big = p.longValue(-2);
    const uint16_t real = p.doubleValue(1e300);
    const uint16_t text = p.utf8("value");
    const uint16_t marker = p.utf8("Lcom/velmor/gc/TKAAnnotations;");
    const uint16_t nameName = p.utf8("name");

    Annotation inner{marker, {{nameName, ElementValue::constant('s', text)}}, {}};
    Annotation all{p.utf8("Lcom/velmor/Every;"), {}, {}};
    for (char tag : std::string("BCISZ"))
        all.pairs.push_back({nameName, ElementValue::constant(tag, number)});
    all.pairs.push_back({nameName, ElementValue::constant('F', ratio)});
    all.pairs.push_back({nameName, ElementValue::constant('J', big)});
    all.pairs.push_back({nameName, ElementValue::constant('D', real)});
    all.pairs.push_back({nameName, ElementValue::constant('s', text)});
    all.pairs.push_back({nameName, ElementValue::enumConstant(p.utf8("Lcom/velmor/gc/Scale;"),
                                                              p.utf8("REL"))});
    all.pairs.push_back({nameName, ElementValue::classInfo(p.utf8("Ljava/lang/String;"))});
    all.pairs.push_back({nameName, ElementValue::annotation(inner)});
    all.pairs.push_back({nameName, ElementValue::array({ElementValue::constant('I', number),
                                                        ElementValue::array({})})});

    const uint16_t code = p.utf8("Code");
    Code nested;
    nested.code = {0xB1};
    Code body;
    body.maxStack = 1;
    body.maxLocals = 2;
    body.code = {0x12, lo(number), 0x57, 0xB1};
    body.exceptions = {{0, 3, 3, shape}};
    body.attributes = {
        lineNumberTable(p.utf8("LineNumberTable"), {{0, 7}, {3, 8}}),
        localVariableTable(p.utf8("LocalVariableTable"),
                           {{0, 4, p.utf8("size"), p.utf8("D"), 0}}),
        stackMap(p.utf8("StackMap"),
                 {{0, {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}, {6, 0}, {7, shape}, {8, 0}},
                   {{1, 0}}},
                  {3, {}, {}}}),
        codeAttribute(code, nested)};

    Member method;
    method.accessFlags = 0x0409;
    method.nameIndex = p.utf8("size");
    method.descriptorIndex = p.utf8("(D)V");
    method.attributes = {
        codeAttribute(code, body),
        exceptions(p.utf8("Exceptions"), {shape, w.superClass}),
        annotations(p.utf8("RuntimeVisibleAnnotations"), {all}),
        annotations(p.utf8("RuntimeInvisibleAnnotations"), {inner}),
        parameterAnnotations(p.utf8("RuntimeVisibleParameterAnnotations"), {{inner}, {}}),
        parameterAnnotations(p.utf8("RuntimeInvisibleParameterAnnotations"), {{}}),
        emptyAttribute(p.utf8("Synthetic")),
        emptyAttribute(p.utf8("Deprecated"))};
    w.methods.push_back(method);

    Member constant;
    constant.accessFlags = 0x0018;
    constant.nameIndex = p.utf8("LIMIT");
    constant.descriptorIndex = p.utf8("I");
    constant.attributes = {constantValue(p.utf8("ConstantValue"), number),
                           emptyAttribute(p.utf8("Synthetic"))};
    w.fields.push_back(constant);

    w.attributes = {sourceFile(p.utf8("SourceFile"), p.utf8("Attributes.rules")),
                    innerClasses(p.utf8("InnerClasses"), {{shape, w.thisClass, text, 0x0019}}),
                    emptyAttribute(p.utf8("Deprecated")),
                    rawAttribute(p.utf8("Unknown"), {1, 2, 3})};
    return w.bytes();
}

RuleAnnotation order(double value) { return RuleAnnotation("$Order").withFloat(value); }
RuleAnnotation group(const std::string& name, double value) {
    return RuleAnnotation("$Group").withString(name).withFloat(value);
}

// A rule file with every kind of rule program constant and every annotation argument form.
Bytes everyConstantRuleFile() {
    RuleFileBuilder b("EveryConstant");
    b.addFileAnnotation(RuleAnnotation("@Version").withString("1.0").withFloat(2, "minor"));
    b.addFileAnnotation(RuleAnnotation("@Flags").withBool(true).withBool(false, "off").withUnknown('x'));
    b.addAttribute("height", "()D", {group("Size", 1), order(2),
                                     RuleAnnotation("@Range").withFloat(1, "min").withFloat(9, "max")},
                   RuleCode().pushDouble(4.5));
    b.addAttribute("label", "()Ljava/lang/String;", {order(1), RuleAnnotation("@Color")},
                   RuleCode().pushString("#ff0000"));
    b.addAttribute("on", "()Z", {}, RuleCode().pushInt(1));
    b.addAttribute("count", "()I", {}, RuleCode().pushInt(70000));
    b.addRule("Lot", "()V", {}, {RuleAnnotation("$StartRule")},
              RuleCode()
                  .callRule("height", "()D")
                  .callBuiltin("extrude", "(D)V")
                  .readEnum("Scale", "REL")
                  .readEnum("Scale", "noSuchMember")
                  .pushString("y")
                  .enumValueOf("SplitAxis")
                  .readField("LIMIT", "D")
                  .pushInt(0)
                  .callBuiltin("_$createShape", "(I)V")
                  .callRule("Missing", "()V")
                  .callRule("Part", "(DLjava/lang/String;Z)V"));
    b.addRule("Part", "(DLjava/lang/String;Z)V", {"width", "style", "flag"},
              {RuleAnnotation("@Description").withString("a part")},
              RuleCode().callBuiltin("color", "(Ljava/lang/String;)V"));
    b.addFunction("helper$inner", "(I)D", {"i"}, RuleCode().pushDouble(1));
    ConstantPoolBuilder& p = b.writer().pool;
    p.floating(0.25f);
    p.longValue(7);
    p.unicode({'a', 'b'});
    p.interfaceMethodref(2, b.nameAndType("area", "()D"));
    return b.bytes();
}

// Rules whose parameters have no local variable table, so they get generated names.
Bytes unnamedParameters() {
    RuleFileBuilder b("Unnamed");
    b.writeLocalVariableTables = false;
    b.addRule("Split", "(DDI)V", {"a", "b", "c"}, {group("Tools", 0)},
              RuleCode().callBuiltin("rand", "(DD)D"));
    b.addAttribute("x$y$z", "()D", {RuleAnnotation("@Hidden")}, RuleCode().pushDouble(0));
    return b.bytes();
}

// One method marked three times: it makes one attribute and two rules, each with every annotation.
Bytes markedThrice() {
    RuleFileBuilder b("MarkedThrice");
    b.addRule("Both", "(D)V", {"size"},
              {RuleAnnotation("_$ATTR"), RuleAnnotation("_$RULE"),
               RuleAnnotation("@Description").withString("shared")},
              RuleCode().pushDouble(1));
    return b.bytes();
}

// Rule files that the translation refuses, one reason each.
Bytes unknownBuiltin() {
    RuleFileBuilder b("UnknownBuiltin");
    b.addRule("Lot", "()V", {}, {}, RuleCode().callBuiltin("noSuchBuiltin", "()V"));
    return b.bytes();
}

Bytes unknownEnumType() {
    RuleFileBuilder b("UnknownEnum");
    b.addRule("Lot", "()V", {}, {}, RuleCode().readEnum("NoSuchType", "x"));
    return b.bytes();
}

Bytes undefinedNonVoid() {
    RuleFileBuilder b("Undefined");
    b.addRule("Lot", "()V", {}, {}, RuleCode().callRule("value", "()D"));
    return b.bytes();
}

Bytes readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw std::runtime_error("cannot read " + path);
    return Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

Bytes head(const Bytes& bytes, size_t n) {
    return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min(n, bytes.size())));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: mkfuzzseeds CORPUS_DIR PLUGIN.so\n";
        return 2;
    }
    const std::string corpus = argv[1];
    try {
        const std::pair<const char*, Bytes> classFiles[] = {
            {"class-empty.class", emptyClass()},
            {"class-wide-entry-at-end.class", wideEntryAtEnd()},
            {"class-every-operand-format.class", everyOperandFormat()},
            {"class-every-attribute.class", everyAttribute()},
        };
        const std::pair<const char*, Bytes> ruleFiles[] = {
            {"rule-every-constant.tkb", everyConstantRuleFile()},
            {"rule-unnamed-parameters.tkb", unnamedParameters()},
            {"rule-marked-thrice.tkb", markedThrice()},
            {"rule-unknown-builtin.tkb", unknownBuiltin()},
            {"rule-unknown-enum-type.tkb", unknownEnumType()},
            {"rule-undefined-non-void.tkb", undefinedNonVoid()},
        };
        for (const char* target : {"classfile_fuzzer", "dump_fuzzer"}) {
            for (const auto& [name, bytes] : classFiles)
                write(corpus + "/" + target, name, bytes);
            write(corpus + "/" + target, ruleFiles[0].first, ruleFiles[0].second);
        }
        for (const auto& [name, bytes] : ruleFiles)
            write(corpus + "/decode_fuzzer", name, bytes);
        write(corpus + "/decode_fuzzer", classFiles[3].first, classFiles[3].second);

        const Bytes plugin = readFile(argv[2]);
        write(corpus + "/extensions_fuzzer", "plugin.so", plugin);
        for (const size_t n : {0, 4, 64, 512})
            write(corpus + "/extensions_fuzzer", "plugin-head-" + std::to_string(n) + ".so",
                  head(plugin, n));
    } catch (const std::exception& e) {
        std::cerr << "mkfuzzseeds: " << e.what() << "\n";
        return 1;
    }
    return 0;
}
