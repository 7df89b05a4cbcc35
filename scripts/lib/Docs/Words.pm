# What stands outside of the blocks: links, paths and options.
package Docs::Words;
use strict;
use warnings;
use Docs::Common;
use Docs::Document;
use Docs::Programs;
use Exporter 'import';
use File::Basename;
use File::Glob ':bsd_glob';

our @EXPORT = qw(check_words);

my @roots_of_paths = qw(References RuntimeEngine R7ITK Tools Tests Examples include docs scripts cmake);
my @not_in_the_tree = qw(build dist);

# check_words($documents, $all): those of the documents, by path; $all when they are all that there are.
sub check_words {
    my ($documents, $all) = @_;
    my (%reached, %options);
    $options{$_} = 1 for options_of_programs(), map { options_of_script($_) } bsd_glob(quotemeta("$root/scripts/") . '*');
    for my $document (map { $documents->{$_} } sort keys %$documents) {
        for (@{ $document->{words} }) {
            my ($number, $line) = @$_;
            my $place = "$document->{path}:$number";
            check_links($place, $line =~ s/`[^`]*`//gr, $document, $documents, \%reached);
            for my $code ($line =~ /`([^`]+)`/g) {
                check_path($place, $code);
                check_options($place, $code, \%options);
            }
        }
    }
    check_reachable($documents, \%reached) if $all;
}

sub check_links {
    my ($place, $line, $document, $documents, $reached) = @_;
    fault($place, 'write the link where it is used, so that it is followed') if $line =~ /^ {0,3}\[[^\]]+\]:|<(?:a|img)\s/i;
    while ($line =~ /\]\(\s*<?([^)>\s]*)>?[^)]*\)/g) {
        my $target = $1;
        if ($target =~ /^[a-z]+:/) { counted('outside') }
        else { check_link($place, $target, $document, $documents, $reached) }
    }
}

sub check_link {
    my ($place, $target, $document, $documents, $reached) = @_;
    counted('links');
    my ($file, $anchor) = split /#/, $target, 2;
    my $path = !$file ? $document->{path} : path_in_tree(dirname($document->{path}) . "/$file");
    return fault($place, "the link leads out of the tree: $target") if !defined $path;
    return fault($place, "the link leads nowhere: $target") if !-e "$root/$path";
    return fault($place, "only a build makes what the link leads to: $target")
        if grep { $path =~ /^\Q$_\E(\/|$)/ } @not_in_the_tree;
    $reached->{$path}{ $document->{path} } = 1;
    return if !defined $anchor;
    my $other = $documents->{$path} || read_document($path);
    fault($place, "no such heading: $target") if !$other->{headings}{$anchor};
}

# The path without "." and ".."; nothing when it leaves the tree.
sub path_in_tree {
    my ($path) = @_;
    my @parts;
    return undef if $path =~ /^\//;
    for (grep { $_ ne '' && $_ ne '.' } split /\//, $path) {
        if ($_ ne '..') { push @parts, $_ }
        elsif (!defined pop @parts) { return undef }
    }
    return join '/', @parts;
}

# What looks like a path of the tree must be one; a "*" or "..." makes a pattern of it.
sub check_path {
    my ($place, $text) = @_;
    my ($top) = $text =~ /^([\w.-]+)\/[\w.\/*-]*$/ or return;
    return if !grep { $_ eq $top } @roots_of_paths;
    counted('paths');
    my @found = bsd_glob(quotemeta("$root/") . $text =~ s/\.\.\./*/gr);
    fault($place, "no such file: $text") if !@found || !-e $found[0];
}

# An option that stands in the text belongs to one of the programs or scripts.
sub check_options {
    my ($place, $text, $known) = @_;
    return if $text =~ /^(?:cmake|ctest|cpack)\b/;
    for my $option ($text =~ /(?:^|\s)(--[a-z][a-z-]*)/g) {
        counted('options');
        fault($place, "no program or script has the option $option") if !$known->{$option};
    }
}

sub check_reachable {
    my ($documents, $reached) = @_;
    my %seen = ('README.md' => 1);
    my $grown = 1;
    while ($grown) {
        $grown = 0;
        for my $path (grep { !$seen{$_} } keys %$documents) {
            $seen{$path} = $grown = 1 if grep { $seen{$_} } keys %{ $reached->{$path} };
        }
    }
    fault($_, 'cannot be reached from README.md') for sort grep { !$seen{$_} } keys %$documents;
}

1;
