// What `tessaro-fmu doctor` says of installations and FMUs with one fault each, and of those without.
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "tests/tools/doctor.h"

namespace {

TEST(Doctor, NamesTheFaultOfAnInstallationOrAnFmuAndNothingElse) {
    const std::pair<const char*, const char*> faults[] = {
        {"", ""},
        {"FMU=", ""},
        {"FMU=car.fmu; SOLVER=--solver", ""},
        {"unset KORVAN_FMU_ROOT", "error root-unset"},
        {"KORVAN_FMU_ROOT=$(printf %01100d 0)", "error variable-too-long"},
        {"KORVAN_FMU_ROOT='~/root'", "error root-missing"},
        {"KORVAN_FMU_ROOT=root", "error root-relative"},
        {"ln -s root 'a$b'; KORVAN_FMU_ROOT=$PWD/'a$b'", "error root-characters"},
        {"export NUSOL_DLL_DIR=$PWD/root; ln -s $PWD/$TSCICOS root", "warning directory-differs"},
        {"export KELDEX_PATH=root", "warning directory-differs, warning directory-relative"},
        {"rm -r root/plsolvers/common", "warning common-folder-missing"},
        {"rm $TSCICOS", "error interface-library-missing"},
        {"echo > root/text; ln -sf ../../../../text $TSCICOS", "error library-unusable"},
        {"misbehave; sed -i s/x/x/ $TSCICOS; truncate -s 5000 $TSCICOS", "error library-unusable"},
        {"truncate -s 60000 car/binaries/linux64/*.so", "error library-unusable"},
        {"KORVAN_FMU_ROOT=", "error root-missing"},
        {"sed -i s/blkStart/blkStarT/ $TSCICOS", "error entry-point-missing"},
        {"sed -i s/libSimTKsimbody/libSimTKnobody_/ $TSCICOS", "error library-dependency"},
        {"misbehave; sed -i 's/\\x00raise\\x00/\\x00raisf\\x00/' $TSCICOS", "warning library-undefined"},
        {"ln -sf \"$STREAMING\" $TSCICOS", "warning library-streams"},
        {"ln -sf \"$STATIC\" $TSCICOS", "warning library-runtime"},
        {"misbehave 'crash when loaded'", "error library-load"},
        {"misbehave; sed -i s/x/x/ $TSCICOS\n"
         "for place in 40 60; do printf '\\0\\0\\0\\0' | dd of=$TSCICOS bs=1 seek=$place conv=notrunc 2> dd; done",
         "warning library-sections"},
        {"as_user; chmod 0 car/resources; trap 'chmod 755 car/resources' EXIT", "error folder-permission"},
        {"FMU=none; rm $TSCICOS", "error unreadable, error interface-library-missing"},
        {"as_user; chmod 0 root/plsolvers; trap 'chmod 755 root/plsolvers' EXIT", "error folder-permission"},
        {"mkdir root/pldesktop; mv root/io root/pldesktop", ""},
        {"rm root/$BATCH", "error translator-missing"},
        {"sed -i s/x/x/ root/$BATCH; chmod -x root/$BATCH", "error translator-permission"},
        {"sed -i '1s/.ELF../PK/' root/$BATCH; sed -i '1s/^/\\x7f''ELF1/' root/$BATCH", "error translator-kind"},
        {"sed -i s/libxml2.so/libxml0.so/ root/$BATCH", "error translator-dependency"},
        {"sed -i s/64.so.2/64.so.9/ root/$BATCH", "error translator-dependency"},
        {"sed -i s/GLIBC_2.34/GLIBC_2.99/ root/$BATCH", "error translator-dependency"},
        {"mkdir root/pldesktop; cp -r root/io root/pldesktop; sed -i 1s,^,#!/none\\n, root/$BATCH",
         "warning translator-dependency"},
        {"rm root/$BATCH; printf '#!/bin/sh\r\n' > root/$BATCH; chmod +x root/$BATCH", "error translator-dependency"},
        {"rm car/modelDescription.xml car/resources/modelDescription.xml", "error description-missing"},
        {"rm car/modelDescription.xml", "warning description-copy-only"},
        {"rm car/modelDescription.xml; cd car; \"$PYTHON\" -m zipfile -c ../rootless.fmu *; cd ..; FMU=rootless.fmu",
         "error description-missing"},
        {"echo '<' >> car/modelDescription.xml", "error xml-malformed"},
        {"sed -i '/modelName=/s/>/ author=\"\">/' $DESCRIPTIONS", "error model-name-scan"},
        {"rm $MODEL.mdl", "error template-missing"},
        {"as_user; chmod 0 $MODEL.mdl", "error template-missing"},
        {"touch $MODEL.xml", "warning model-file-present"},
        {"mv $MODEL.mdl $MODEL.xml; rm root/$BATCH", "warning model-file-present"},
        // What check finds, doctor finds.
        {"rm car/resources/fmu2ts.par", "error parameter-file-missing"},
        {"sed -i 's/$/\\r/' car/resources/fmu2ts.par", "error parameter-carriage-return"},
        {"echo >> car/resources/fmu2ts.par", "warning lines-extra"},
        {"sed -i 6s/.*/99999999999/ car/resources/fmu2ts.par", "error parameter-number"},
        {"rm car/resources/mv.par; SOLVER=--solver", "error parameter-file-missing"},
        {"sed -i s,./Quarter,/none/Quarter, car/resources/fmu2ts.par", "warning result-not-writable"},
        {"rm -r car/binaries", "error library-missing"},
        {"mv car/binaries/linux64/*.so car/binaries/linux64/x.so", "error library-missing"},
        {"sed -i 's/modelIdentifier=\"/&lib_/' $DESCRIPTIONS; cd car/binaries/linux64\n"
         "mv *.so lib_QuarterCar.so; cd ../../..",
         ""},
        {"sed -i 's/libxml2.so/libxml0.so/' car/binaries/linux64/*.so", "error library-dependency"},
        {"FMU='\xc3\xbc car'; mv car \"$FMU\"", "warning location-characters"},
        {"export TMPDIR=$PWD/'\xc3\xbc'; mkdir \"$TMPDIR\"; FMU=car.fmu", "warning location-characters"},
        {"mkdir m; export TMPDIR=m; FMU=car.fmu", "warning location-characters"},
        {"export TMPDIR=/proc; FMU=car.fmu", "error temporary-folder"}, // it takes no folder, not even from root
        {"export TMPDIR=/none; FMU=car.fmu; rm root/$BATCH", "error temporary-folder, error translator-missing"},
        {"d=$(printf %0200d 0); FMU=$d/$d/$d/$d/$d/car; mkdir -p $FMU; cp -r car/* $FMU", "error location-too-long"},
        {"as_user; trap 'chmod 755 . car/resources' EXIT\n"
         "chmod 555 . car/resources",
         "warning result-not-writable, error resources-not-writable"},
        {"SOLVER=--solver; sed -i s/mechanism/machine/ $MODEL.mdl", "error model-not-made"},
        {"cp -rL \"$DEMO/models/quarter_car\" model; sed -i '/^..output/aderivatives = 0' model/quarter_car.toml\n"
         "\"$PROGRAM\" pack model/quarter_car.toml -o plain.fmu > packed; FMU=plain.fmu SOLVER=--solver\n"
         "misbehave 'no derivatives'",
         ""},
        {"SOLVER=--solver; sed -i 17s/[0-9]*$/100/ car/resources/fmu2ts.par", "error port-range"},
        // The derivatives of the last port go past the reals.
        {"cp -rL \"$DEMO/models/quarter_car\" model; cd model\n"
         "sed -i '/^..output/aderivatives = 0\n/^..parameter/,$d' quarter_car.toml\n"
         "\"$PROGRAM\" pack quarter_car.toml -o plain.fmu > packed; \"$PYTHON\" -m zipfile -e plain.fmu ../plain; cd "
         "..\n"
         "sed -i 6s/10/8/ plain/resources/fmu2ts.par; sed -i '1s/10/8/; 10,11d' plain/resources/mv.par\n"
         "FMU=plain SOLVER=--solver",
         "warning content-changed"},
    };
    for (const auto& [script, findings] : faults) EXPECT_EQ(findingsAfter(script), findings) << script;
}

TEST(Doctor, ListsWhatItFound) {
    const std::string text = printedAfter(""), indent(20, ' '),
                      announcement =
                          "tessaro-fmu: doctor now loads the solver's library and, if one is given, the FMU's: "
                          "their code runs.\n";
    EXPECT_EQ(text.find(announcement), 0U) << text;
    EXPECT_NE(text.find("\n" + indent + "derived from KORVAN_FMU_ROOT; loads, has its four functions\n"), text.npos)
        << text;
    EXPECT_NE(text.find("\n\ncar: nothing wrong found in the environment, the FMU's files, the installation; not "
                        "examined: the solver (--solver)\n"),
              text.npos)
        << text;
    EXPECT_EQ(printedAfter("rm -r car/binaries $TSCICOS").find(announcement), text.npos);
}

TEST(Doctor, SaysWhatHelpsAndWhatItSaw) {
    const std::pair<const char*, const char*> findings[] = {
        {"sed -i s,./Quarter,results/Quarter, car/resources/fmu2ts.par", "Make the folder, "},
        {"sed -i 's,./Quarter,~/Quarter,' car/resources/fmu2ts.par", "~ and $VARIABLES are not expanded here"},
        {"sed -i s/x/x/ root/$BATCH; chmod -x root/$BATCH", "chmod +x '"},
        {"KORVAN_FMU_ROOT=$KORVAN_FMU_ROOT$(printf '\\r')", "/root\\r\"."},
        {"sed -i 's,./Quarter,./\\x1b[31mQuarter,' car/resources/fmu2ts.par",
         "\nresult file         ./\\x1b[31mQuarterCar_result.csv, in "},
        {"export TMPDIR=/none; FMU=car.fmu",
         "No files can be made in \"/none\", which TMPDIR names: No such file or directory."},
        {"export TMPDIR=m; mkdir m; FMU=car.fmu", "TMPDIR is \"m\", which is not an absolute path."},
        {"FMU='\xc3\xbc car'; mv car \"$FMU\"", "With ecos and OMSimulator the resources' location is "},
        {"misbehave; sed -i s/x/x/ $TSCICOS\n"
         "for place in 40 60; do printf '\\0\\0\\0\\0' | dd of=$TSCICOS bs=1 seek=$place conv=notrunc 2> dd; done",
         "Use the library as it was built, "},
        {"as_user; chmod 0 root/plsolvers; trap 'chmod 755 root/plsolvers' EXIT",
         "/root/plsolvers: error: This folder cannot be entered by the user who runs this."},
    };
    for (const auto& [script, text] : findings) EXPECT_NE(printedAfter(script).find(text), std::string::npos) << script;
}

TEST(Doctor, NamesFileSystemsThatAreFullOrRunNothing) {
    if (printedAfter("unshare -rm true || echo refused; exit").find("refused") != std::string::npos)
        GTEST_SKIP() << "no mount namespace can be made here";
    // With the folder "mnt" as a file system of its own, after a preparation.
    const std::string mounting =
        "mount_for() { mkdir mnt; AS='unshare -rm sh ./inside'; echo \"mount -t tmpfs -o $1 none mnt "
        "&& { $2; } && exec \\\"\\$@\\\"\" > inside; }\n";
    const std::pair<const char*, const char*> systems[] = {
        {"export TMPDIR=$PWD/mnt; FMU=car.fmu; mount_for noexec true", "error folder-noexec"},
        {"FMU=mnt/car; mount_for noexec 'cp -r car mnt'", "error folder-noexec"},
        {"KORVAN_FMU_ROOT=$PWD/mnt/root; FMU=; mount_for noexec 'cp -rL root mnt'",
         "error folder-noexec, error folder-noexec"},
    };
    for (const auto& [script, findings] : systems) EXPECT_EQ(findingsAfter(mounting + script), findings) << script;
    const std::pair<const char*, const char*> full[] = {
        {"export TMPDIR=$PWD/mnt; FMU=car.fmu; mount_for size=64k true", "error unreadable: "},
        {"export TMPDIR=$PWD/mnt; FMU=car.fmu; mount_for size=64k 'head -c 65536 /dev/zero > mnt/full; true'",
         "error temporary-folder: "},
        {"export TMPDIR=$PWD/mnt; SOLVER=--solver; mount_for size=64k 'head -c 65536 /dev/zero > mnt/full; true'",
         "error temporary-folder: "},
    };
    for (const auto& [script, rule] : full) {
        const std::string findings = findingsAfter(mounting + script, true);
        EXPECT_EQ(findings.find(rule), 0U) << findings;
        EXPECT_NE(findings.find("No space left on device"), std::string::npos) << findings;
    }
}

} // namespace
