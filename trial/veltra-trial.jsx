// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Renders the trial kit in After Effects: File > Scripts > Run Script File...
// It makes a project of its own, applies the effect with every setting of veltra-settings.jsxinc,
// and renders them into the folder after-effects beside this file. compare.bat does the rest.

//@include "veltra-settings.jsxinc"

(function () {
    var TEMPLATES = { 8: "Veltra PNG 8", 16: "Veltra PNG 16", 32: "Veltra OpenEXR" };
    var DEPTHS = [8, 16, 32];
    var MOST_CPU_PERCENT = 90;

    var kit = new File($.fileName).parent;
    var output = new Folder(kit.fsName + "/after-effects");
    var lines = [];

    function say(line) {
        lines.push(line);
    }

    function writeLog() {
        var log = new File(output.fsName + "/log.txt");
        log.encoding = "UTF-8";
        if (!log.open("w")) {
            return;
        }
        log.writeln("After Effects " + app.version + ", " + $.os);
        for (var i = 0; i < lines.length; i++) {
            log.writeln(lines[i]);
        }
        log.close();
    }

    function has(list, name) {
        for (var i = 0; i < list.length; i++) {
            if (list[i] === name) {
                return true;
            }
        }
        return false;
    }

    function makeOutput() {
        if (!output.exists && !output.create()) {
            throw new Error("cannot make the folder " + output.fsName +
                            " (allow scripts to write files in Preferences > " +
                            "Scripting & Expressions)");
        }
    }

    // Pictures of an earlier run must not pass for those of this one.
    function emptyOutput() {
        for (var i = 0; i < VELTRA_SETTINGS.length; i++) {
            var old = output.getFiles(VELTRA_SETTINGS[i].name + ".*");
            for (var k = 0; k < old.length; k++) {
                if (!old[k].remove()) {
                    throw new Error("cannot remove " + old[k].fsName);
                }
            }
        }
    }

    function makeProject() {
        if (!app.newProject()) {
            throw new Error("the project that was open is still open; save or close it first");
        }
        // Colours are compared as numbers: no profile and no linear light may change them.
        app.project.workingSpace = "";
        app.project.linearBlending = false;
    }

    function importPicture(name) {
        var item = app.project.importFile(new ImportOptions(new File(kit.fsName + "/" + name)));
        if (item.mainSource.hasAlpha) {
            item.mainSource.alphaMode = AlphaMode.STRAIGHT;
        }
        item.pixelAspect = 1;
        return item;
    }

    // ---- One setting ----

    // The layer lies in the composition, switched off: only the effect looks at it.
    function makeComposition(setting, frame, layer) {
        var region = setting.region;
        var width = region ? region[2] : frame.width;
        var height = region ? region[3] : frame.height;
        var composition = app.project.items.addComp(setting.name, width, height, 1,
                                                    setting.frames / VELTRA_RATE, VELTRA_RATE);
        composition.bgColor = [0, 0, 0];
        composition.resolutionFactor = [setting.resolution, setting.resolution];
        var chosen = composition.layers.add(layer);
        var under = composition.layers.add(frame);
        chosen.quality = LayerQuality.BEST;
        chosen.enabled = false;
        under.quality = LayerQuality.BEST;
        if (region) {
            // A composition smaller than the frame asks for a part of it.
            under.property("Position").setValue([frame.width / 2 - region[0],
                                                 frame.height / 2 - region[1]]);
        }
        return { composition: composition, under: under, chosen: chosen };
    }

    function valueFor(control, value) {
        if (control.type === "checkbox") {
            return value ? 1 : 0;
        }
        if (control.type === "popup") {
            for (var i = 0; i < control.choices.length; i++) {
                if (control.choices[i] === value) {
                    return i + 1;
                }
            }
            throw new Error(control.name + " has no choice " + value);
        }
        return value;
    }

    function setKeys(property, keys) {
        for (var i = 0; i < keys.length; i++) {
            property.setValueAtTime(keys[i][0] / VELTRA_RATE, keys[i][1]);
        }
        for (var key = 1; key <= property.numKeys; key++) {
            property.setInterpolationTypeAtKey(key, KeyframeInterpolationType.LINEAR,
                                               KeyframeInterpolationType.LINEAR);
        }
    }

    function applyEffect(setting, parts) {
        var effects = parts.under.property("ADBE Effect Parade");
        if (!effects.canAddProperty(VELTRA_EFFECT.matchName)) {
            throw new Error("NVT Veltra is not installed (the guide tells how)");
        }
        var effect = effects.addProperty(VELTRA_EFFECT.matchName);
        effect.property(VELTRA_EFFECT.controls.layer.name).setValue(parts.chosen.index);
        for (var name in setting.controls) {
            if (setting.controls.hasOwnProperty(name)) {
                var control = VELTRA_EFFECT.controls[name];
                var property = effect.property(control.name);
                if (setting.keys.hasOwnProperty(name)) {
                    setKeys(property, setting.keys[name]);
                } else {
                    property.setValue(valueFor(control, setting.controls[name]));
                }
            }
        }
    }

    // ---- The render queue ----

    function queue(setting, composition) {
        var item = app.project.renderQueue.items.add(composition);
        // What the composition itself says, its resolution included.
        if (has(item.templates, "Current Settings")) {
            item.applyTemplate("Current Settings");
        } else {
            say(setting.name + ": no render settings called Current Settings; the default ones");
        }
        var module = item.outputModule(1);
        var template = TEMPLATES[setting.depth];
        if (!has(module.templates, template)) {
            throw new Error("no output module template called '" + template +
                            "' (README.txt tells how to make the three that are needed)");
        }
        module.applyTemplate(template);
        module.file = new File(output.fsName + "/" + setting.name + ".[####]" + setting.ending);
        item.render = false;
        return item;
    }

    function useSeveralFramesAtOnce(wanted) {
        if (typeof app.setMultiFrameRenderingConfig === "function") {
            app.setMultiFrameRenderingConfig(wanted, MOST_CPU_PERCENT);
        } else if (wanted) {
            say("this version renders one frame at a time");
        }
    }

    // Depth belongs to the project, and several frames at once to the program: what shares both is
    // rendered together.
    function renderThose(depth, multiFrame, items) {
        var own = [];
        for (var i = 0; i < VELTRA_SETTINGS.length; i++) {
            if (VELTRA_SETTINGS[i].depth === depth && VELTRA_SETTINGS[i].multiFrame === multiFrame) {
                items[i].render = true;
                own.push(items[i]);
            }
        }
        if (own.length === 0) {
            return;
        }
        app.project.bitsPerChannel = depth;
        useSeveralFramesAtOnce(multiFrame);
        app.project.renderQueue.render();
        for (var k = 0; k < own.length; k++) {
            say(own[k].comp.name + (own[k].status === RQItemStatus.DONE ? ": rendered"
                                                                        : ": not rendered"));
        }
    }

    // Everything that may be missing shows before a picture of an earlier run is removed.
    function run() {
        makeOutput();
        makeProject();
        var frame = importPicture("frame.png");
        var layer = importPicture("layer.png");
        var items = [];
        for (var i = 0; i < VELTRA_SETTINGS.length; i++) {
            var parts = makeComposition(VELTRA_SETTINGS[i], frame, layer);
            applyEffect(VELTRA_SETTINGS[i], parts);
            items.push(queue(VELTRA_SETTINGS[i], parts.composition));
        }
        emptyOutput();
        for (var k = 0; k < DEPTHS.length; k++) {
            renderThose(DEPTHS[k], false, items);
            renderThose(DEPTHS[k], true, items);
        }
    }

    try {
        run();
        writeLog();
        alert("Veltra: rendered. Now start compare.bat in the same folder.");
    } catch (error) {
        say("stopped: " + error.message);
        writeLog();
        alert("Veltra: " + error.message);
    }
}());
