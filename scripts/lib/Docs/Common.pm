# What all parts of scripts/check-docs use: files, faults, and counts of what was checked.
package Docs::Common;
use strict;
use warnings;
use Cwd 'abs_path';
use Exporter 'import';
use File::Basename;
use File::Path 'make_path';

our @EXPORT = qw($root $work %tally fault counted slurp spew lines_of quoted below_root);

our $root = abs_path(dirname(__FILE__) . '/../../..');
our $work = "$root/build/check-docs";
# Faults as lines, counts by name, and what the picture shows: all that a worker hands back.
our %tally = (faults => [], counts => {}, shown => []);

# fault($place, $text): one line per fault. Returns nothing.
sub fault { my ($place, $text) = @_; push @{ $tally{faults} }, "$place: $text"; return }

sub counted { my ($name) = @_; $tally{counts}{$name}++ }

sub slurp {
    my ($path) = @_;
    open my $in, '<:raw', $path or die "check-docs: $path: $!\n";
    local $/;
    return <$in> // '';
}

sub spew {
    my ($path, $text) = @_;
    make_path(dirname($path));
    open my $out, '>:raw', $path or die "check-docs: $path: $!\n";
    print $out $text;
    close $out or die "check-docs: $path: $!\n";
}

sub lines_of { my ($text) = @_; return split /\n/, $text =~ s/\r//gr }

sub quoted { return join '', map { "    $_\n" } @_ }

# The path as it is named in the tree.
sub below_root { my ($path) = @_; return $path =~ s/^\Q$root\E\///r }

1;
