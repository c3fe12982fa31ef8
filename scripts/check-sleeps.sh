#!/usr/bin/env bash
# Sums the fixed waits written in tests/: QTest::qWait and qSleep, QThread's sleeps, usleep,
# std::this_thread::sleep_for, Barrier::timerFired (a timer the test starts to wait out), and
# `sleep` in the shell helpers. A QTRY_*_WITH_TIMEOUT or a QSignalSpy::wait is not counted, as
# it ends on the event. Each wait counts once, where it is
# written, at its written length (a wait in a loop or a helper counts once); a length read from
# a constant in src/ is looked up there; one held in a variable is listed as not counted.
# With --list, every wait is printed with its length. Always exits 0: the figure is for people.
set -euo pipefail
cd "$(dirname "$0")/.."

list=0
[ "${1:-}" = --list ] && list=1

files=$(git ls-files -co --exclude-standard -- tests | grep -vE '\.(json|scpt|js|html|txt|md)$' || true)
constants=$(git ls-files -co --exclude-standard -- 'src/*.h' 'tests/*.h' 'tests/*.cpp')

# shellcheck disable=SC2086
LIST=$list CONSTANTS="$constants" perl -e '
use strict;
use warnings;

# name -> value of every `name = <integer>` in the headers (constexpr intervals and the like).
my %constant;
for my $header (split /\n/, $ENV{CONSTANTS}) {
    open my $in, "<", $header or next;
    while (<$in>) {
        next unless /\b(\w+)\s*=\s*([0-9][0-9\x27]*)\s*;/;
        my ($name, $value) = ($1, $2);
        $value =~ s/\x27//g;
        $constant{$name} = $value;
    }
}

# Milliseconds of a C++ expression, or undef when it is not made of numbers and known constants.
sub milliseconds {
    my ($expression, $unit) = @_;
    $expression =~ s/static_cast<\w+>//g;
    $expression =~ s/\x27//g;
    $expression =~ s/(?:\w+::)*([A-Za-z_]\w*)/exists $constant{$1} ? $constant{$1} : "?"/ge;
    return undef if $expression =~ /[^0-9+\-*\/(). ]/;
    my $value = eval $expression;
    return undef unless defined $value;
    return $value * $unit;
}

my ($total, $count, @unknown) = (0, 0);
for my $file (@ARGV) {
    open my $in, "<", $file or next;
    my $shell = 0;
    while (my $line = <$in>) {
        $shell = 1 if $. == 1 && $line =~ /^#!.*\b(?:ba)?sh\b/;
        my @found;    # [milliseconds or undef, text]
        if ($shell) {
            (my $code = $line) =~ s/(^|\s)#.*$//;
            while ($code =~ /(?:^|[;&|(]|\bdo|\bthen|\belse)\s*sleep\s+("[^"]*"|[^\s;&|)]+)/g) {
                my $argument = $1;
                my $ms = $argument =~ /^([0-9.]+)$/ ? $1 * 1000 : undef;
                push @found, [$ms, "sleep $argument"];
            }
        } else {
            (my $code = $line) =~ s{//.*$}{};
            my %unit = (qWait => 1, qSleep => 1, timerFired => 1, msleep => 1, sleep => 1000,
                        usleep => 0.001);
            while ($code =~ /\b(?:(?:QTest|Barrier)::(qWait|qSleep|timerFired)|QThread::(msleep|sleep|usleep)|(?<![\w:])(usleep))\s*\(((?:[^()]|\((?4)\))*)\)/g) {
                my $call = $1 // $2 // $3;
                push @found, [milliseconds($4, $unit{$call}), "$call($4)"];
            }
            while ($code =~ /sleep_for\s*\(\s*std::chrono::(\w+)\s*(?:<[^>]*>)?\s*\(((?:[^()]|\((?2)\))*)\)/g) {
                my %chrono = (milliseconds => 1, seconds => 1000, microseconds => 0.001);
                my $ms = exists $chrono{$1} ? milliseconds($2, $chrono{$1}) : undef;
                push @found, [$ms, "sleep_for($1($2))"];
            }
        }
        for my $wait (@found) {
            my ($ms, $text) = @$wait;
            if (defined $ms) {
                $total += $ms;
                $count++;
                printf "%8.0f ms  %s:%d  %s\n", $ms, $file, $., $text if $ENV{LIST};
            } else {
                push @unknown, "$file:$.  $text";
                printf "       ? ms  %s:%d  %s\n", $file, $., $text if $ENV{LIST};
            }
        }
    }
}
printf "sleeps: %d fixed waits in tests/, %.1f s in all\n", $count, $total / 1000;
if (@unknown) {
    printf "sleeps: %d more of a length held in a variable, not counted:\n", scalar @unknown;
    print "  $_\n" for @unknown;
}
' $files
