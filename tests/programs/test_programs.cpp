// The real programs over real pseudo-terminals, as a shell sees them.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

constexpr const char* preamble = R"(
export LC_ALL=C PATH=)" ZARN74_PROGRAMS R"(:$PATH QT_QPA_PLATFORM=offscreen
export XDG_CONFIG_HOME=$PWD/config XDG_DATA_HOME=$PWD/data XDG_STATE_HOME=$PWD/state
export ZARN74_PORT_MAP=COM7=$PWD/reader
trap 'kill $(jobs -p) 2>/dev/null; wait' EXIT
# A simulated reader at work on $tty. It may write files of so many KiB as $limit says.
start() {
    coproc SIM { ulimit -f "${limit:-unlimited}"; exec zarn74sim "$@" 2>&1; }
    exec 8<&"${SIM[0]}"- 9>&"${SIM[1]}"-
    sim=$SIM_PID
    read -r -t 5 tty <&8
}
# The first line that the simulator says to a command.
tell() {
    echo "$*" >&9
    read -r -t 5 <&8
    echo "$REPLY"
}
# Opens the reader's terminal; the shell itself would change its settings when it reads.
connect() { exec 3<>"$tty" 4< <(exec cat <&3 2>/dev/null); line=$!; }
disconnect() {
    exec 3>&- 4<&-
    kill $line 2>/dev/null
    wait $line
}
# The reader's answer to a frame, for which it has $2 seconds.
ask() { printf '\2%s\r' "$1" >&3; answer "$2"; }
answer() {
    IFS= read -r -t "${1:-5}" -d $'\r' <&4 || { (($? > 128)) && REPLY=none || REPLY='hung up'; }
    echo "${REPLY#$'\2'}"
}
# The byte at $1 of the image is changed to what printf makes of $2.
poke() { printf "$2" | dd of=image bs=1 seek="$1" conv=notrunc status=none; }
byte() { echo $(od -An -tu1 -j"$1" -N1 image); }
)";

/// A folder of its own for each test, gone with it.
struct Programs : testing::Test {
    Programs() {
        std::string pattern = testing::TempDir() + "zarn74-XXXXXX";
        folder = mkdtemp(pattern.data());
    }
    ~Programs() override { std::filesystem::remove_all(folder); }

    /// The script of a shell says this and nothing else, with a "|" behind each line.
    void ExpectSaid(const std::string& script, const std::string& expected) const {
        std::ofstream(folder + "/script") << preamble << script << "\nexit 0\n";
        FILE* const said = popen(("cd '" + folder + "' && timeout 60 bash script 2>&1").c_str(), "r");
        ASSERT_NE(said, nullptr);
        std::string text;
        for (int c = fgetc(said); c != EOF; c = fgetc(said)) text += static_cast<char>(c == '\n' ? '|' : c);
        EXPECT_EQ(WEXITSTATUS(pclose(said)), 0) << "124 is that it hangs";
        EXPECT_EQ(text, expected);
    }
    std::string folder;
};

TEST_F(Programs, TheSimulatorAnswersOverItsTerminalAndSavesEachWriteBeforeItAnswers) {
    ExpectSaid(R"sh(
        start --image image --log log --fault 'no-answer command=D once'
        wc -c <image
        exec 3<>"$tty"  # whoever asks and goes leaves no answer for the next
        printf '\2J\r' >&3
        until grep -q AFF log; do sleep .02; done
        exec 3>&-
        sleep .5  # the simulator sees that it is gone
        connect
        answer .1
        ask V
        ask C05,0135
        byte 5
        tell set 0x1FF 7
        byte 511
        tell card ultralight 04526af13b2c80
        ask J
        tell 'type 04A1\x7E\r'
        answer
        ask $'C05\r\2D\r\2J'
        tell quit
        wait $sim
        echo ended with $?
        sed -E 's/.*"t":[0-9]\..*"dir":"(..)".*"text":"(.*)"\}/\1 \2/' log | sed -n 3,4p)sh",
               "512|none|AV1.02R007,FWQ-K4436|A|1|511 (0x1FF) = 7 (0x07)|7|card 3 04526AF13B2C80|"
               "A03,04526AF13B2C80|typed 6 bytes|04A1~|A03,04526AF13B2C80|quit|ended with 0|"
               "rx \\u0002V\\u000D|tx \\u0002AV1.02R007,FWQ-K4436\\u000D|");
}

// What was on the line stands in the recording, though the program was killed in the middle of a frame, and
// whoever gets it has that reader.
TEST_F(Programs, ARecordingOutlivesItsProgramAndIsAReaderAgain) {
    ExpectSaid(R"sh(
        exec 2>said  # the shell tells of what it killed
        start --example --fault 'trickled-reply value=60 command=B'
        zarn74ctl --port "$tty" --baud 19200 --record line monitor >seen 2>&1 &
        monitor=$!
        until [ -e line ] && grep -q Zarn74 seen; do sleep .02; tell 'type Zarn74\r' >said; done
        kill -9 $monitor
        wait $monitor
        zarn74ctl explain line | grep -c typed | sed 's/[1-9][0-9]*/told/'
        zarn74ctl --port "$tty" --baud 19200 --record line get 210 >seen 2>&1 &
        monitor=$!
        until grep -q 'hex":"024130' line; do sleep .01; done
        kill -9 $monitor
        wait $monitor
        zarn74ctl explain line | sed -n 's/.*\(<STX>A0[^ ]*\) .*/half a reply/p'
        zarn74ctl --record /dev/null/line get 210 2>&1
        tell clear-faults
        zarn74ctl --port "$tty" --baud 19200 --quiet --record line get 210
        zarn74ctl mask line -o masked
        tell quit
        wait $sim
        start --replay masked --fast
        zarn74ctl --port "$tty" --baud 19200 --quiet get 210
        zarn74ctl --port "$tty" --baud 19200 --quiet get 211
        read -r -t 5 <&8
        echo "$REPLY")sh",
               "told|half a reply|zarn74ctl: /dev/null/line: Not a directory|no faults|"
               "210 (0x0D2) = 2 (0x02)|quit|210 (0x0D2) = 2 (0x02)|"
               "zarn74sim: the recording does not hold <STX>BD3<CR>|");
}

TEST_F(Programs, TheSimulatorHangsUpWhenUnpluggedAndComesBackOnANewTerminal) {
    ExpectSaid(R"sh(
        ln -s /dev/pts/99999 reader
        start --link reader
        connect
        ask J
        tell unplug
        answer
        [ -L reader ] && echo the link is still there
        tell set 209 6
        tty=$(tell replug)
        [ "$tty" = "$(readlink reader)" ] || echo the link does not follow
        disconnect
        connect
        ask J .2  # the new line speed counts from now on
        disconnect
        zarn74ctl --port COM7 --baud 9600 get 5 2>err
        stty -F "$tty" 9600  # the program gave the line back as it was
        tell type nobody listens
        connect
        ask J
        exec 9>&-  # the end of its input does not end it
        ask J
        kill $sim
        wait $sim
        echo ended with $?
        [ -L reader ] && echo the link is still there)sh",
               "AFF|unplugged|hung up|209 (0xD1) = 6 (0x06)|none|5 (0x005) = 255 (0xFF)|typed 14 bytes|"
               "AFF|AFF|ended with 0|");
}

TEST_F(Programs, NothingOfAnInterruptedCommandReachesTheNextProgramOnTheLine) {
    ExpectSaid(R"sh(
        start --example --only-baud 19200 --pace 19200
        run="zarn74ctl --port $tty --baud 19200"
        $run read >first 2>err
        for time in .1 .2 .35 .45; do
            $run --trace dump >/dev/null 2>sent &
            until [ -s sent ]; do sleep .01; done
            sleep $time
            kill $!
            wait $!
            echo $?
            rm sent
            $run read 2>err | cmp - first
        done
        tell fault late-reply value=400 command=B register=5 once
        $run --trace get 5 >/dev/null 2>sent &
        until [ -s sent ]; do sleep .01; done
        sleep .3
        kill $!
        wait $!
        $run get 0xD1 2>err)sh",
               "130|130|130|130|fault late-reply command=B register=5 count=1 value=400|"
               "209 (0x0D1) = 255 (0xFF)|");
}

TEST_F(Programs, TheSimulatorStaysCalmUnderAFlood) {
    ExpectSaid(R"sh(
        start --pace 4000000
        connect
        timeout .5 tr '\0' '\2' </dev/zero >&3 &
        sleep .3
        tell get 5
        wait $!
        disconnect
        connect
        ask J)sh",
               "5 (0x5) = 255 (0xFF)|AFF|");
}

TEST_F(Programs, TheSimulatorLeavesTheImageWholeWhenItCannotBeSaved) {
    ExpectSaid(R"sh(
        head -c 512 /dev/zero >image
        limit=0
        start --image image
        connect
        ask C05,0135
        tell quit
        wait $sim
        echo $? $(wc -c <image))sh",
               "A|zarn74sim: cannot write the memory image image|1 512|");
}

TEST_F(Programs, TheSimulatorSaysInOneLineWhatIsWrong) {
    ExpectSaid(R"sh(
        echo x >short
        ln -s short link
        for line in --bogus '--fault no-anser' '--image short' '--link short' '--link link' '--log .'; do
            said=$(zarn74sim $line 2>&1 </dev/null)
            echo $? $(wc -l <<<"$said") "${said:0:45}"
        done
        cat short
        start
        for line in frobnicate 'set 5 256' 'card 1 0G' help; do
            tell "$line" | cut -c 1-35
        done)sh",
               "2 1 zarn74sim: The following argument was not exp|"
               "2 1 zarn74sim: --fault: unknown fault \"no-anser\";|"
               "1 1 zarn74sim: a memory image has 512 bytes, shor|"
               "1 1 zarn74sim: short exists and is no link to a t|"
               "1 1 zarn74sim: link exists and is no link to a te|"
               "1 1 zarn74sim: cannot write the log .: Is a direc|x|"
               "zarn74sim: unknown command \"frobnic|zarn74sim: usage: set REG VALUE; RE|"
               "zarn74sim: a serial is an even numb|  card TYPE SERIAL | none lays a ca|");
}

TEST_F(Programs, AFolderOrADisplayThatIsNotThereIsSaidAndCrashesNobody) {
    ExpectSaid(R"sh(
        here=$PWD
        mkdir gone
        cd gone
        rmdir ../gone
        for line in '--port-map COM1=reader --port COM1 info' '--port ./reader info' 'demo read -o file'; do
            zarn74ctl $line >/dev/null 2>$here/err
            echo $? $(grep -c terminate $here/err)
        done
        zarn74 --describe >/dev/null 2>$here/err
        echo $?
        cd $here
        QT_QPA_PLATFORM=xcb DISPLAY=/no/such zarn74 --demo 2>&1 | cut -d/ -f1
        QT_QPA_PLATFORM=none zarn74 --describe 2>&1
        echo $?)sh",
               "3 0|3 0|1 0|0|zarn74: the window cannot be shown: could not connect to display |"
               "zarn74: the window cannot be shown: Could not find the Qt platform plugin \"none\" in \"\"|"
               "1|");
}

TEST_F(Programs, TheUsersDefaultsComeBeforeThoseBesideTheProgramAndTheInstallations) {
    ExpectSaid(R"sh(
        language=0
        mkdir -p usr/lib/zarn74
        cp "$(type -P zarn74ctl)" usr/lib/zarn74
        folders='config/zarn74 usr/lib/zarn74 etc/zarn74 usr/share/zarn74'
        for folder in $folders; do
            mkdir -p $folder
            printf '[General]\r\nLanguage=%s\r\n' $((100 + language++)) >$folder/Default.ini
        done
        for folder in $folders; do
            usr/lib/zarn74/zarn74ctl --trace demo default 2>&1 | grep -o 'CD2,..'
            rm $folder/Default.ini
        done
        usr/lib/zarn74/zarn74ctl demo default 2>&1 | grep -o 'Open .*!')sh",
               "CD2,64|CD2,65|CD2,66|CD2,67|Open Zarn74 Default Info From File NG!|");
}

TEST_F(Programs, AReaderBehindADeviceFileIsFoundReadAndWritten) {
    ExpectSaid(R"sh(
        start --example --pace 19200 --link reader --log frames
        zarn74ctl scan 2>err | tail -n 1
        begin=${EPOCHREALTIME/./}
        zarn74ctl --port ./reader --baud 14400 read -o file 2>err
        ((${EPOCHREALTIME/./} - begin > 520000)) || echo quicker than two images of 512 bytes on that line
        zarn74ctl demo read 2>err | cmp - file
        rm -r config
        ZARN74_PORT_MAP= zarn74ctl --port ./reader info 2>err | tail -n 1
        grep -rs LastCommPort config  # the name was for that run
        for name in null nothing; do zarn74ctl --port $name info 2>&1 | cut -d: -f2,3; done
        zarn74ctl --port-map COM9=/no/such --port-map COM7=reader write file 2>err | tail -n 1
        grep -c u0002C frames
        (printf '[General]\r\nLang'; sleep .2; printf 'uage=5\r\n') | zarn74ctl --port ./reader --quiet write - | tail -n 2
        zarn74ctl --port ./reader --quiet get 210
        echo $?)sh",
               "COM Port: COM7, 19200 baud|COM Port: COM5, 19200 baud| null: /dev/null cannot be opened|"
               " nothing: there is no such port|read back: all of it was kept|1|"
               "zarn74ctl: Language=5: no list has this value|"
               "zarn74ctl: the file has no conversion table: the reader's table is emptied|"
               "6 of 43 settings differ|read back: all of it was kept|210 (0x0D2) = 5 (0x05)|0|");
}

TEST_F(Programs, AReaderOnHidIsFoundByEachOfItsNamesOrItIsSaidWhyNot) {
    ExpectSaid(R"sh(
        export ORVBUS_DEVICES='tarka maker=Fab%E9 serial=7;reader access=13;reader access=16'
        mkdir virtual
        sleep 20 5>virtual/hidraw3 &
        zarn74ctl demo --hid ports 2>err
        cut -d';' -f1 err | sed 's/[0-9]*)$/N)/'
        for name in hid1 '\\?\HID#vid_2e91&pid_0005#1-1:1.0' ./virtual/hidraw1 hidraw1 HID2 HID4; do
            zarn74ctl demo --hid --port $name --baud 19200 get 1 2>err >out
            echo $? $(grep -c 'no access' err) $(tail -n 1 err | cut -d';' -f1 | cut -d- -f2)
        done)sh",
               "HID1    virtual/hidraw1  \\\\?\\hid#vid_2e91&pid_0005#1-1:1.0 (Tarka USB Adapter), Fabé, "
               "serial number 7|"
               "HID2    virtual/hidraw2  \\\\?\\hid#vid_2e91&pid_0005#1-2:1.0 (Zarn74), Simulated, serial "
               "number 0001 (no access)|"
               "HID3    virtual/hidraw3  \\\\?\\hid#vid_2e91&pid_0005#1-3:1.0 (Zarn74), Simulated, serial "
               "number 0001 (in use)|"
               "zarn74ctl: HID2: no access to virtual/hidraw2|"
               "zarn74ctl: HID3: in use by another program: sleep (process N)|0 0 GetRegister OK|"
               "0 0 GetRegister OK|0 0 GetRegister OK|0 0 GetRegister OK|"
               "3 1 zarn74ctl: HID2: no access to virtual/hidraw2|"
               "3 0 zarn74ctl: HID4: there is no such port|");
}

TEST_F(Programs, WhatEndsARunInTheMiddleEndsItAtOnce) {
    ExpectSaid(R"sh(
        start --example --pace 19200 --link reader --log log
        frames() { grep -c '"dir":"rx"' log; }
        # Waits until the run that has begun is in the middle.
        middle() { for ((end = $(frames) + 20; $(frames) < end; )); do sleep .02; done; }
        stopped() {
            middle
            kill -$1 $!
            wait $!
            echo $1 $? $(cat out; ls file 2>/dev/null)
        }
        zarn74ctl --slow read >out 2>err &
        stopped INT
        zarn74ctl --slow read -o file >out 2>err &
        stopped TERM
        zarn74ctl --slow read >out 2>err &
        middle
        kill -STOP $!
        kill -INT $!
        kill -TERM $!
        kill -CONT $!
        wait $!
        echo twice $? $(grep -c Information err)
        (trap '' HUP; exec zarn74ctl --slow read >out 2>err) &
        middle
        kill -HUP $!
        sleep .2
        kill -0 $! && stopped INT
        (zarn74ctl --slow read 2>err; echo $? >code) | middle
        echo a closed pipe $(cat code)
        (middle; echo unplug >&9) &
        zarn74ctl --slow read 2>err
        echo the cable pulled $? $(grep -o 'COM7 is .*' err)
        (($(frames) < 450)) || echo one of them went on with its 468 frames)sh",
               "INT 130|TERM 130|twice 130 1|INT 130|a closed pipe 130|"
               "the cable pulled 1 COM7 is removed and closed|");
}

TEST_F(Programs, AFileIsReplacedAsAWholeOrLeftAsItWasAndWhatCannotBeWrittenIsSaid) {
    ExpectSaid(R"sh(
        for line in 'zarn74ctl demo info' 'zarn74 --help' 'zarn74 --demo --describe'; do
            $line 2>&1 >/dev/full | tail -n 1
            echo ${PIPESTATUS[0]}
        done
        mkdir dir
        umask 022
        echo old >dir/file
        chmod 640 dir/file
        (ulimit -f 1; zarn74ctl demo read -o dir/file 2>&1 | grep -o 'Save .*')
        cat dir/file
        echo kept >dir/kept
        chmod 400 dir/kept
        without=
        [ "$(id -u)" -ne 0 ] || without='setpriv --bounding-set=-all'  # root's rights do not count here
        $without zarn74ctl demo read -o dir/kept 2>&1 | grep -o 'Save .*'
        cat dir/kept
        rm -f dir/kept
        ln -s file dir/link
        mkfifo dir/fifo
        for name in link fifo; do
            zarn74ctl demo dump -o dir/$name 2>&1 | tail -n 2 | cut -c 12-
        done
        for name in dir/fifo /proc/self/mem; do  # that one can be opened, not read
            zarn74ctl demo write $name 2>&1 | cut -c 12-
        done
        zarn74ctl demo read -o dir/none/file 2>&1 | cut -c 12-
        cd dir
        stat -c '%A %n' $(ls -A)
        wc -c file
        # a full pipe that somebody made non-blocking is waited for
        mkfifo pipe
        exec 6<>pipe 5>pipe
        dd if=/dev/zero bs=4096 count=99 oflag=nonblock >&5 2>/dev/null
        (zarn74ctl demo dump >&5 2>err; echo $? >code) &
        sleep .5
        [ -e code ] || echo it waits
        exec 5>&- 6>&- <pipe
        tail -n 1
        wait
        cat code
        # a pipe that holds bytes still has a reader, also when the program could be that itself
        exec 7<>pipe
        (echo full; zarn74ctl demo get 5 2>err; echo $?) >&7
        timeout 1 head -n 3 <&7)sh",
               "zarn74ctl: cannot write to standard output|1|zarn74: cannot write to standard output|1|"
               "zarn74: cannot write to standard output|1|Save Device Info To File NG!|old|"
               "Save Device Info To File NG!|kept|Dump OK|Save Dump To File OK|Save Dump To File NG|"
               "dir/fifo: it is no regular file|Open Device Info From File NG!|"
               "dir/fifo: it is no regular file|Open Device Info From File NG!|"
               "/proc/self/mem: Input/output error|Save Device Info To File NG!|"
               "dir/none/file: No such file or directory|prw-r--r-- fifo|-rw-r----- file|"
               "lrwxrwxrwx link|512 file|it waits|1F0: FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF|"
               "0|full|5 (0x005) = 0 (0x00)|0|");
}

TEST_F(Programs, TheWindowTellsWhatTheReadersImageHoldsAndDrawsIt) {
    ExpectSaid(R"sh(
        head -c 512 /dev/zero | tr '\0' '\377' >image
        poke 210 '\1'
        poke 160 'ab\r\377'
        poke 224 '\2\3'  # digits 2 to 4 of the first card type
        zarn74 --describe --image image --screenshot p.png --size 1100x750 --page 'card id' >said 2>err
        echo $?
        grep -E '^(cboLanguage|txtPrefix|oCardSNLen0|labPort)=' said
        tail -n 1 said | cut -d- -f2
        od -An -tx1 -j16 -N8 p.png
        zarn74 --demo=hid --describe 2>err | grep -o -E '^labPort.*Tarka.*|^cboLanguage.*|^labStatusPort.*'
        cp "$(command -v zarn74)" .
        mkdir zarn74-demo.ini  # no file can be put there
        ./zarn74 --demo 2>err &
        # It is ready for the signal as soon as it, no more the shell, would catch it.
        until [[ $(sed -n 's/Name:\t//p; s/SigCgt:\t.*\(....\)$/\1/p' /proc/$!/status) == zarn74*[4-7c-f]??? ]]; do
            sleep .05
        done
        kill $!
        wait $!
        echo $? $(grep -o 'zarn74: .* to' err)
        for line in '--screenshot /no/such/p.png' '--image /no/such/image' --nonsense; do
            zarn74 $line 2>err
            echo $? $(tail -n 1 err)
        done)sh",
               "0|cboLanguage=France|labPort=COM1|oCardSNLen0=2,3|txtPrefix=ab<CR>|"
               " Get Device Information OK| 00 00 04 4c 00 00 02 ee|cboLanguage=Germany|"
               "labPort=\\\\?\\hid#vid_2e91&pid_0005#1-1:1.0 (Tarka USB Adapter) with Tarka V2.10|"
               "labStatusPort=HID1|1 zarn74: the settings shown could not be saved to|"
               "1 zarn74: cannot write /no/such/p.png|"
               "1 zarn74: cannot read the memory image /no/such/image: No such file or directory|"
               "2 zarn74: The following argument was not expected: --nonsense|");
}

// Readers come and go on one line, one of them in the middle: what is said of each is what its row holds.
TEST_F(Programs, AStationKeepsARowOfEachReaderAlsoOfOneThatGoesInTheMiddle) {
    ExpectSaid(R"sh(
        exec 2>said  # the shell tells of what it killed
        printf '[General]\r\nLanguage=2\r\nTagFrequency=1\r\n' >shop
        zarn74ctl --port COM7 station shop --start-with-plugged --count 3 --label 'U-{0001}' >out 2>err &
        station=$!
        until_said() { until (($(grep -c "$2" $1) >= $3)); do sleep .05; done; }
        for i in 1 2 3; do
            fault=()
            [ $i = 2 ] && fault=(--fault 'no-answer command=C skip=1')
            start --pace 19200 --link reader --image image "${fault[@]}"
            [ $i = 2 ] && until_said err 'SetLanguage OK' 2 && kill -9 $sim
            until_said out . $i
            kill $sim
            wait $sim
            echo language $(byte 210)
            rm image
            [ $i = 3 ] || until_said err 'Plug in a reader' $((i + 1))
        done
        wait $station
        echo $?
        sed 's/  [0-9.]* s//' out
        zarn74ctl --json history --action station |
            grep -o -E '"(outcome|label|reason|changeCount)":("[^"]*"|[0-9]*|null)' | paste -d' ' - - - -)sh",
               "language 2|language 2|language 2|4|1  PASS  U-0001  COM7  V1.02R007  2 changes|"
               "2  FAIL  U-0002  COM7  V1.02R007  2 changes  pulled out while writing; written: Language; "
               "Language: wanted Germany, it was USA; Tag frequency: wanted LF (125KHz), it was LF + HF|"
               "3  PASS  U-0003  COM7  V1.02R007  2 changes|"
               "\"outcome\":\"done\" \"reason\":null \"label\":\"U-0003\" \"changeCount\":2|"
               "\"outcome\":\"failed\" \"reason\":\"pulled out while writing; written: Language\" "
               "\"label\":\"U-0002\" \"changeCount\":2|"
               "\"outcome\":\"done\" \"reason\":null \"label\":\"U-0001\" \"changeCount\":2|");
}

TEST_F(Programs, AWriteOfSevenSettingsTakesTwoAndAHalfKiBOfTheHistory) {
    ExpectSaid(R"sh(
        zarn74ctl demo --no-history read >kept 2>&-
        sed -E 's/^(Language|CardIDNumericSequence)=.*\r/\1=0\r/; s/^(TagFrequency|Delimiter)=.*\r/\1=1\r/
            s/^(KeyboardOutput|BuzzerEnabled|DisplayCardType)=.*\r/\1=False\r/' kept >file
        for i in {1..30}; do
            zarn74ctl demo --history history.db write file 2>&- | grep settings
            stat -c %s history.db >>sizes
        done | uniq -c
        echo $(($(tail -n 1 sizes) - $(sed -n 10p sizes) <= 20 * 2560 + 4096)))sh",  // in whole pages
               "     30 7 of 43 settings differ|1|");
}

}  // namespace
