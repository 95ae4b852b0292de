#include "Examples.h"

#include "classwriter/RuleFileBuilder.h"

namespace mkexamples {

using classwriter::RuleAnnotation;
using classwriter::RuleCode;
using classwriter::RuleFileBuilder;

namespace {

// Rule bodies below follow the rule source in the comments. The builder has no loads of local
// variables, so where the source reads a parameter the body pushes a typical value instead.

const char* const D = "()D";
const char* const S = "()Ljava/lang/String;";
const char* const RULE = "()V";
const char* const ONE_FLOAT_RULE = "(D)V";
const char* const DOOR = "(DLjava/lang/String;)V";
const char* const SPLIT_ROOT = "(I)Lcom/velmor/gc/SplitNode;";
const char* const ADD_NODE = "(Lcom/velmor/gc/SplitNode;Lcom/velmor/gc/SplitNode;)V";
const char* const SIZED_NODE = "(Lcom/velmor/gc/Scale;DZI)Lcom/velmor/gc/SplitNode;";
const char* const COMP_NODE = "(Lcom/velmor/gc/Comp;IZI)Lcom/velmor/gc/SplitNode;";
const char* const SETBACK_NODE = "(Lcom/velmor/gc/Setback;DZI)Lcom/velmor/gc/SplitNode;";
const char* const SPLIT = "(Lcom/velmor/gc/SplitAxis;Lcom/velmor/gc/SplitNode;)V";
const char* const COMP = "(Lcom/velmor/gc/CompSelector;Lcom/velmor/gc/SplitNode;)V";
const char* const SCALE3 = "(Lcom/velmor/gc/Scale;DLcom/velmor/gc/Scale;DLcom/velmor/gc/Scale;D)V";
const char* const MOVE = "(Lcom/velmor/gc/Mode;Lcom/velmor/gc/CoordSystem;DDD)V";
const char* const COLOR = "(Ljava/lang/String;)V";
const uint16_t PRIVATE_STATIC_FINAL = 0x001A;

RuleAnnotation group(const char* name, double order) {
    return RuleAnnotation("$Group").withString(name).withFloat(order);
}
RuleAnnotation order(double value) { return RuleAnnotation("$Order").withFloat(value); }
RuleAnnotation range(double min, double max) {
    return RuleAnnotation("@Range").withFloat(min, "min").withFloat(max, "max");
}
RuleAnnotation description(const char* text) {
    return RuleAnnotation("@Description").withString(text);
}

// One part of a split, as the compiler lays it out: the part's size, whether it repeats, and the
// index of the branch that builds it; then the part joins the split tree.
RuleCode& sizedPart(RuleCode& code, const char* scale, double size, bool repeat, int32_t branch) {
    return code.readEnum("Scale", scale)
        .pushDouble(size)
        .pushInt(repeat ? 1 : 0)
        .pushInt(branch)
        .callBuiltin("_$createSplitNode", SIZED_NODE)
        .callBuiltin("_$addSplitNode", ADD_NODE);
}

// As above with the size taken from an attribute or function of the file.
RuleCode& sizedPartOf(RuleCode& code, const char* scale, const char* sizeRule, bool repeat,
                      int32_t branch) {
    return code.readEnum("Scale", scale)
        .callRule(sizeRule, D)
        .pushInt(repeat ? 1 : 0)
        .pushInt(branch)
        .callBuiltin("_$createSplitNode", SIZED_NODE)
        .callBuiltin("_$addSplitNode", ADD_NODE);
}

RuleCode& compPart(RuleCode& code, const char* component, int32_t branch) {
    return code.readEnum("Comp", component)
        .pushInt(1)
        .pushInt(0)
        .pushInt(branch)
        .callBuiltin("_$createSplitNode", COMP_NODE)
        .callBuiltin("_$addSplitNode", ADD_NODE);
}

void addAttributes(RuleFileBuilder& b) {
    b.addAttribute("height", D,
                   {group("Massing", 1), order(1), range(6, 60),
                    description("Eave height of the building in metres")},
                   RuleCode().pushDouble(21));
    b.addAttribute("floorHeight", D,
                   {group("Massing", 1), order(2), range(2.6, 5.5),
                    description("Height of one storey in metres")},
                   RuleCode().pushDouble(3.5));
    b.addAttribute("frontSetback", D,
                   {group("Massing", 1), order(3), range(0, 15),
                    description("Distance between the street front of the lot and the facade")},
                   RuleCode().pushDouble(4));
    b.addAttribute("lotCoverage", D,
                   {group("Massing", 1), order(4), range(0.2, 1),
                    description("Share of the lot that the footprint covers")},
                   RuleCode().pushDouble(0.65));

    b.addAttribute("tileWidth", D,
                   {group("Facade", 2), order(1), range(1.5, 6),
                    description("Width of one facade tile, a window with its wall")},
                   RuleCode().pushDouble(2.8));
    b.addAttribute("windowProportion", D,
                   {group("Facade", 2), order(2), range(1, 2.5),
                    description("Height of a window over its width; the golden ratio by default")},
                   RuleCode().pushDouble(1.618033988749895));
    b.addAttribute("wallColor", S,
                   {group("Facade", 2), order(3), RuleAnnotation("@Color"),
                    description("Plaster colour")},
                   RuleCode().pushString("#d8cfc4"));
    b.addAttribute("windowTexture", S,
                   {group("Facade", 2), order(4),
                    RuleAnnotation("@File").withString("jpg").withString("png"),
                    description("Texture of the window panes")},
                   RuleCode().pushString("facades/windows/sash_01.jpg"));
    b.addAttribute("groundFloorShops", "()Z",
                   {group("Facade", 2), order(5),
                    description("Shop fronts & doors on the ground floor")},
                   RuleCode().pushInt(1));

    b.addAttribute("roofType", S,
                   {group("Roof", 3), order(1),
                    RuleAnnotation("@Enum")
                        .withString("gable")
                        .withString("hip")
                        .withString("flat")
                        .withBool(true, "restricted"),
                    description("Shape of the roof")},
                   RuleCode().pushString("gable"));
    b.addAttribute("roofAngle", D,
                   {group("Roof", 3), order(2), range(10, 60),
                    description("Pitch of the roof planes in degrees")},
                   RuleCode().pushDouble(32.5));
    b.addAttribute("roofColor", S, {group("Roof", 3), order(3), RuleAnnotation("@Color")},
                   RuleCode().pushString("#7a3b2e"));
}

// Lot --> setback(frontSetback) { street.front: Garden | remainder: Footprint }
// Footprint --> s('sqrt(lotCoverage), '1, 'sqrt(lotCoverage)) center(xz)
//               extrude(world.y, height) Mass(floor(height / floorHeight))
// Mass(floors) --> comp(f) { top: Roof | side: Facade(floors) }
void addMassingRules(RuleFileBuilder& b) {
    RuleCode lot;
    lot.callRule("frontSetback", D).pushInt(2).callBuiltin("_$createSplitRoot", SPLIT_ROOT);
    lot.readEnum("Setback", "street$front")
        .callRule("frontSetback", D)
        .pushInt(0)
        .pushInt(0)
        .callBuiltin("_$createSplitNode", SETBACK_NODE)
        .callBuiltin("_$addSplitNode", ADD_NODE);
    lot.readEnum("Setback", "remainder")
        .pushDouble(0)
        .pushInt(0)
        .pushInt(1)
        .callBuiltin("_$createSplitNode", SETBACK_NODE)
        .callBuiltin("_$addSplitNode", ADD_NODE);
    lot.callBuiltin("setback", "(DLcom/velmor/gc/SplitNode;)V")
        .callRule("Garden", RULE)
        .callRule("Footprint", RULE);
    b.addRule("Lot", RULE, {},
              {RuleAnnotation("$StartRule"), description("Start rule: a lot facing the street")},
              lot);

    b.addRule("Garden", RULE, {}, {},
              RuleCode()
                  .pushString("#6b8e4e")
                  .callBuiltin("color", COLOR)
                  .pushInt(0)
                  .callBuiltin("_$createShape", "(I)V"));

    b.addRule("Footprint", RULE, {}, {},
              RuleCode()
                  .readEnum("Scale", "REL")
                  .callRule("lotCoverage", D)
                  .callBuiltin("sqrt", "(D)D")
                  .readEnum("Scale", "REL")
                  .pushDouble(1)
                  .readEnum("Scale", "REL")
                  .callRule("lotCoverage", D)
                  .callBuiltin("sqrt", "(D)D")
                  .callBuiltin("s", SCALE3)
                  .readEnum("AxesSelector", "xz")
                  .callBuiltin("center", "(Lcom/velmor/gc/AxesSelector;)V")
                  .readEnum("AxisWorld", "world$y")
                  .callRule("height", D)
                  .callBuiltin("extrude", "(Lcom/velmor/gc/AxisWorld;D)V")
                  .callRule("height", D)
                  .callRule("floorHeight", D)
                  .callBuiltin("floor", "(D)D")
                  .callRule("Mass", ONE_FLOAT_RULE));

    RuleCode mass;
    mass.readEnum("CompSelector", "f").pushInt(2).callBuiltin("_$createSplitRoot", SPLIT_ROOT);
    compPart(mass, "top", 0);
    compPart(mass, "side", 1);
    mass.callBuiltin("comp", COMP).callRule("Roof", RULE).callRule("Facade", ONE_FLOAT_RULE);
    b.addRule("Mass", ONE_FLOAT_RULE, {"floors"}, {}, mass);
}

// Facade(floors) --> split(y) { ~floorHeight: Floor(split.index) }*
// Floor(index)   --> case index == 0 && groundFloorShops: GroundFloor  else: UpperFloor
//                    Ledge(0.25)
// GroundFloor    --> split(x) { ~tileWidth: Tile | 2.2: Entrance | ~tileWidth: Tile }
// UpperFloor     --> split(x) { ~tileWidth: Tile }*
// Tile           --> split(x) { ~1: Wall | windowWidth: WindowBay | ~1: Wall }
// WindowBay      --> split(y) { 0.9: Wall | windowHeight: Window | ~1: Wall }
void addFacadeRules(RuleFileBuilder& b) {
    RuleCode facade;
    facade.readEnum("SplitAxis", "y").pushInt(1).callBuiltin("_$createSplitRoot", SPLIT_ROOT);
    sizedPartOf(facade, "FLT", "floorHeight", true, 0);
    facade.callBuiltin("split", SPLIT)
        .callBuiltin("split$index", D)
        .callRule("Floor", ONE_FLOAT_RULE);
    b.addRule("Facade", ONE_FLOAT_RULE, {"floors"}, {}, facade);

    b.addRule("Floor", ONE_FLOAT_RULE, {"index"}, {},
              RuleCode()
                  .callRule("groundFloorShops", "()Z")
                  .callRule("GroundFloor", RULE)
                  .callRule("UpperFloor", RULE)
                  .pushDouble(0.25)
                  .callRule("Ledge", ONE_FLOAT_RULE));

    RuleCode ground;
    ground.readEnum("SplitAxis", "x").pushInt(3).callBuiltin("_$createSplitRoot", SPLIT_ROOT);
    sizedPartOf(ground, "FLT", "tileWidth", false, 0);
    sizedPart(ground, "ABS", 2.2, false, 1);
    sizedPartOf(ground, "FLT", "tileWidth", false, 0);
    ground.callBuiltin("split", SPLIT).callRule("Tile", RULE).callRule("Entrance", RULE);
    b.addRule("GroundFloor", RULE, {}, {}, ground);

    RuleCode upper;
    upper.readEnum("SplitAxis", "x").pushInt(1).callBuiltin("_$createSplitRoot", SPLIT_ROOT);
    sizedPartOf(upper, "FLT", "tileWidth", true, 0);
    upper.callBuiltin("split", SPLIT).callRule("Tile", RULE);
    b.addRule("UpperFloor", RULE, {}, {}, upper);

    RuleCode tile;
    tile.readEnum("SplitAxis", "x").pushInt(3).callBuiltin("_$createSplitRoot", SPLIT_ROOT);
    sizedPart(tile, "FLT", 1, false, 0);
    sizedPartOf(tile, "ABS", "windowWidth", false, 1);
    sizedPart(tile, "FLT", 1, false, 0);
    tile.callBuiltin("split", SPLIT).callRule("Wall", RULE).callRule("WindowBay", RULE);
    b.addRule("Tile", RULE, {}, {}, tile);

    RuleCode bay;
    bay.readEnum("SplitAxis", "y").pushInt(3).callBuiltin("_$createSplitRoot", SPLIT_ROOT);
    sizedPart(bay, "ABS", 0.9, false, 0);
    sizedPartOf(bay, "ABS", "windowHeight", false, 1);
    sizedPart(bay, "FLT", 1, false, 0);
    bay.callBuiltin("split", SPLIT).callRule("Wall", RULE).callRule("Window", RULE);
    b.addRule("WindowBay", RULE, {}, {}, bay);

    b.addFunction("windowWidth", D, {},
                  RuleCode().callRule("tileWidth", D).pushDouble(0.45));
    b.addFunction("windowHeight", D, {},
                  RuleCode().callRule("windowWidth", D).callRule("windowProportion", D));
}

// Window  --> s('1, '1, 0.12) t(0, 0, -0.12) i("assets/window.obj") texture(windowTexture)
// Entrance --> Door(1.1, "panelled")
// Door(width, style) --> i("assets/doors/" + style + ".obj") color("#4a2f1d")
// Wall    --> color(wallColor)
// const ledgeColor = "#bfb8ad"
// Ledge(depth) --> extrude(depth) color(ledgeColor)
void addDetailRules(RuleFileBuilder& b) {
    b.addRule("Window", RULE, {}, {},
              RuleCode()
                  .readEnum("Scale", "REL")
                  .pushDouble(1)
                  .readEnum("Scale", "REL")
                  .pushDouble(1)
                  .readEnum("Scale", "ABS")
                  .pushDouble(0.12)
                  .callBuiltin("s", SCALE3)
                  .readEnum("Mode", "rel")
                  .readEnum("CoordSystem", "scope")
                  .pushDouble(0)
                  .pushDouble(0)
                  .pushDouble(-0.12)
                  .callBuiltin("translate", MOVE)
                  .pushString("assets/window.obj")
                  .callBuiltin("i", COLOR)
                  .callRule("windowTexture", S)
                  .callBuiltin("texture", COLOR));

    b.addRule("Entrance", RULE, {}, {},
              RuleCode().pushDouble(1.1).pushString("panelled").callRule("Door", DOOR));
    b.addRule("Door", DOOR, {"width", "style"},
              {description("A door of the given width; style picks the asset")},
              RuleCode()
                  .pushString("assets/doors/")
                  .pushString("panelled")
                  .callBuiltin("_$add", "(Ljava/lang/String;Ljava/lang/String;)Ljava/lang/String;")
                  .pushString(".obj")
                  .callBuiltin("_$add", "(Ljava/lang/String;Ljava/lang/String;)Ljava/lang/String;")
                  .callBuiltin("i", COLOR)
                  .pushString("#4a2f1d")
                  .callBuiltin("color", COLOR));

    b.addRule("Wall", RULE, {}, {},
              RuleCode().callRule("wallColor", S).callBuiltin("color", COLOR));
    b.addRule("Ledge", ONE_FLOAT_RULE, {"depth"}, {},
              RuleCode()
                  .pushDouble(0.25)
                  .callBuiltin("extrude", "(D)V")
                  .readField("ledgeColor", "Ljava/lang/String;")
                  .callBuiltin("color", COLOR));
}

// Roof      --> case roofType == "flat": RoofFlat
//               else: roof(valueOf(roofType), roofAngle) RoofPlanes
// RoofFlat  --> offset(-0.4, border) Ledge(0.9)
// RoofPlanes --> comp(f) { all: RoofTile }
// RoofTile  --> color(roofColor) Chimney(rand(0.2, 0.8))
// Chimney(position) --> t('position, 0, 0) i("assets/chimney.obj")
void addRoofRules(RuleFileBuilder& b) {
    b.addRule("Roof", RULE, {}, {},
              RuleCode()
                  .callRule("roofType", S)
                  .pushString("flat")
                  .callBuiltin("_$eq", "(Ljava/lang/String;Ljava/lang/String;)Z")
                  .callRule("RoofFlat", RULE)
                  .callRule("roofType", S)
                  .enumValueOf("RoofType")
                  .callRule("roofAngle", D)
                  .callBuiltin("roof", "(Lcom/velmor/gc/RoofType;D)V")
                  .callRule("RoofPlanes", RULE));
    b.addRule("RoofFlat", RULE, {}, {},
              RuleCode()
                  .pushDouble(-0.4)
                  .readEnum("OffsetSelector", "border")
                  .callBuiltin("offset", "(DLcom/velmor/gc/OffsetSelector;)V")
                  .pushDouble(0.9)
                  .callRule("Ledge", ONE_FLOAT_RULE));

    RuleCode planes;
    planes.readEnum("CompSelector", "f").pushInt(1).callBuiltin("_$createSplitRoot", SPLIT_ROOT);
    compPart(planes, "all", 0);
    planes.callBuiltin("comp", COMP).callRule("RoofTile", RULE);
    b.addRule("RoofPlanes", RULE, {}, {}, planes);

    b.addRule("RoofTile", RULE, {}, {},
              RuleCode()
                  .callRule("roofColor", S)
                  .callBuiltin("color", COLOR)
                  .pushDouble(0.2)
                  .pushDouble(0.8)
                  .callBuiltin("rand", "(DD)D")
                  .callRule("Chimney", ONE_FLOAT_RULE));
    b.addRule("Chimney", ONE_FLOAT_RULE, {"position"}, {},
              RuleCode()
                  .readEnum("Scale", "REL")
                  .pushDouble(0.5)
                  .readEnum("Scale", "ABS")
                  .pushDouble(0)
                  .readEnum("Scale", "ABS")
                  .pushDouble(0)
                  .callBuiltin("t", SCALE3)
                  .pushString("assets/chimney.obj")
                  .callBuiltin("i", COLOR));
}

} // namespace

Example buildingExample() {
    RuleFileBuilder b("Building");
    b.addFileAnnotation(description(
        "A generic building: a lot with a front garden, storeys of windows & doors, and a gable, "
        "hip or flat roof"));
    b.addFileAnnotation(RuleAnnotation("@Version").withFloat(1, "major").withFloat(2, "minor"));
    addAttributes(b);
    addMassingRules(b);
    addFacadeRules(b);
    addDetailRules(b);
    addRoofRules(b);

    // The constant behind ledgeColor: a static final field with its value.
    classwriter::Member ledgeColor;
    ledgeColor.accessFlags = PRIVATE_STATIC_FINAL;
    ledgeColor.nameIndex = b.utf8("ledgeColor");
    ledgeColor.descriptorIndex = b.utf8("Ljava/lang/String;");
    ledgeColor.attributes.push_back(
        classwriter::constantValue(b.utf8("ConstantValue"), b.string("#bfb8ad")));
    b.writer().fields.push_back(ledgeColor);
    return {"building.tkb", b.bytes()};
}

} // namespace mkexamples
