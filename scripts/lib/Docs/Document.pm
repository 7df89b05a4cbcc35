# The documents of the tree, taken apart.
package Docs::Document;
use strict;
use warnings;
use Docs::Common;
use Exporter 'import';
use File::Find;

our @EXPORT = qw(all_documents read_document rows_of_table);

sub all_documents {
    my @found;
    find({ no_chdir => 1, wanted => sub { push @found, $_ if /\.md$/ } }, map { "$root/$_" } qw(docs Examples));
    return ('README.md', 'CHANGELOG.md', sort map { below_root($_) } @found);
}

# A document as { path, blocks, headings, words }: blocks are { line, info, text, example }, where example is the name that
# a comment in the line before gives it; words are the lines outside of them, with their numbers.
sub read_document {
    my ($path) = @_;
    my %document = (path => $path, blocks => [], headings => {}, words => []);
    my ($block, $number, $last, $blank) = (undef, 0, '', 1);
    for (split /\n/, slurp("$root/$path")) {
        $number++;
        if ($block) {
            if (/^ {0,3}```+\s*$/) { push @{ $document{blocks} }, $block; undef $block }
            else { $block->{text} .= "$_\n" }
        } elsif (/^ {0,3}```+(.*)$/) {
            $block = { line => $number, info => $1, text => '' };
            $block->{example} = $1 if !$blank && $last =~ /^<!-- example: ([\w-]+) -->$/;
        } else {
            # In a list the same indentation only continues an item.
            my $code = $blank && /^ {4}\S/ && $last !~ /^\s|^[-*]|^\d+\./;
            fault("$path:$number", 'indented code: give it a fence') if $code;
            add_heading($document{headings}, $1) if /^#+\s+(.*?)\s*$/;
            push @{ $document{words} }, [ $number, $_ ];
        }
        $blank = !/\S/;
        $last = $_ if !$blank && !$block;
    }
    fault("$path:$block->{line}", 'the block has no end') if $block;
    return \%document;
}

# The anchors that a heading gets where the documents are shown.
sub add_heading {
    my ($headings, $text) = @_;
    my $slug = lc $text =~ s/\[([^\]]*)\]\([^)]*\)/$1/gr;
    $slug =~ s/[^\w\s-]//g;
    $slug =~ s/\s/-/g;
    my $twin = $headings->{$slug}++;
    $headings->{"$slug-$twin"}++ if $twin;
}

# rows_of_table($document, $column, ...): the cells of these columns, row by row, in the tables that have all of them;
# without backticks.
sub rows_of_table {
    my ($document, @columns) = @_;
    my (@rows, @at, $inside);
    for (map { $_->[1] } @{ $document->{words} }) {
        if (!/^\|/) { $inside = 0; next }
        next if /^\|[-:|\s]+$/;
        my @cells = map { s/^\s+|\s+$//gr =~ s/`//gr } split /(?<!\\)\|/, s/^\|//r;
        if (!$inside) {
            my %at = map { $cells[$_] => $_ } 0 .. $#cells;
            @at = map { $at{$_} // () } @columns;
            $inside = 1;
        } elsif (@at == @columns) {
            push @rows, [ map { $_ // '' } @cells[@at] ];
        }
    }
    return @rows;
}

1;
