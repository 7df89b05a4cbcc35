# What each kind of block is checked by; the first lines of scripts/check-docs list the kinds.
package Docs::Blocks;
use strict;
use warnings;
use Docs::Common;
use Docs::Programs;
use Docs::Run;
use Exporter 'import';
use JSON::PP;

our @EXPORT = qw(work_through body_of_block compile_bodies);

my $compiler = 'i686-w64-mingw32-g++-posix -std=c++20 -Wall -Wextra -Wpedantic -Werror';
my $json = JSON::PP->new->allow_nonref->canonical;

my %work_of = ('sh' => \&do_sh, 'sh picture' => \&do_picture, 'sh server' => \&do_server,
    'sh elsewhere' => \&do_elsewhere, 'cpp' => \&do_cpp, 'cpp body' => \&do_body, 'json script' => \&do_json_script,
    'text' => \&do_text, 'cmd' => \&do_cmd, 'cmd server' => \&do_cmd_server);
my %comparison_of = ('output' => \&check_output, 'json output' => \&check_json);

# Checks the blocks of a document one after the other.
sub work_through {
    my ($document) = @_;
    my $printed;
    $document->{workshop} = make_workshop($document->{path} =~ s/[\/.]/-/gr);
    for my $block (@{ $document->{blocks} }) {
        my $place = "$document->{path}:$block->{line}";
        my $kind = $block->{info} =~ s/\s*\bfile=\S+//r =~ s/^\s+|\s+$//gr;
        if (my $compare = $comparison_of{$kind}) {
            if (defined $printed) { $compare->($place, $block->{text}, $printed) }
            else { fault($place, 'there is no block above it that prints something') }
            next;
        }
        my $work = $kind =~ / fragment$/ ? \&do_nothing : $work_of{$kind};
        $printed = $work ? $work->($document, $block, $place) : fault($place, "no way to check a block of '$kind'");
    }
    end_what_runs();
}

# Runs a block's script, tells when it failed, and returns what it printed.
sub run_block {
    my ($place, $directory, $script) = @_;
    my ($code, $printed) = run_script($directory, $script);
    my @lines = lines_of($printed);
    splice @lines, 0, -20 if @lines > 20;
    fault($place, "ended with exit code $code:\n" . quoted(@lines)) if $code != 0;
    return $printed;
}

sub do_sh {
    my ($document, $block, $place) = @_;
    serve_by_default($document->{workshop});
    counted('commands');
    return run_block($place, $document->{workshop}, with_port($block->{text}));
}

sub do_picture {
    my ($document, $block, $place) = @_;
    my $printed = do_sh(@_);
    push @{ $tally{shown} }, $block->{text}, $printed;
    return $printed;
}

sub do_server {
    my ($document, $block, $place) = @_;
    counted('commands');
    my $command = $block->{text} =~ s/--port 8080/--port 0/r;
    start_gateway($document->{workshop}, $command)
        or fault($place, "the gateway did not start:\n" . quoted(lines_of(slurp("$document->{workshop}/gateway.log"))));
    return;
}

# Windows runs these lines in the install tree, the package's. The compiler is the one that is here.
sub do_cmd {
    my ($document, $block, $place) = @_;
    my $tree = "$document->{workshop}/dist";
    serve_by_default($document->{workshop});
    counted('commands');
    spew("$tree/$_", with_port($document->{files}{$_})) for keys %{ $document->{files} };
    my $script = '';
    for (grep { /\S/ } lines_of(with_port($block->{text}))) {
        $script .= s/^g\+\+ // ? "i686-w64-mingw32-g++-posix @{[tr{\\}{/}r]}\n" : "../scripts/wine-run cmd /c '$_'\n";
    }
    return run_block($place, $tree, $script);
}

sub do_cmd_server {
    my ($document, $block, $place) = @_;
    my $text = $block->{text} =~ s{^bin\\}{scripts/wine-run dist/bin/}r;
    return do_server($document, { %$block, text => $text }, $place);
}

sub do_elsewhere {
    my ($document, $block, $place) = @_;
    counted('elsewhere');
    check_command_line($place, $_) for grep { /^[^\s#]/ } lines_of($block->{text} =~ s/\\\n/ /gr);
    return;
}

sub do_cpp {
    my ($document, $block, $place) = @_;
    counted('programs');
    serve_by_default($document->{workshop});
    my ($file) = $block->{info} =~ /\bfile=(\S+)/;
    my $text = with_port($block->{text});
    $document->{files}{$file} = $block->{text} if $file;
    spew("$document->{workshop}/$file", $text) if $file;
    spew("$document->{workshop}/sample.cpp", "#line @{[$block->{line} + 1]} \"$document->{path}\"\n$text");
    my $program = $text =~ /\bmain\(/;
    return run_block($place, $document->{workshop}, $program
        ? "$compiler -Idist/include sample.cpp dist/lib/libqzSOAP.dll.a -static -o dist/bin/sample.exe\n"
        . "scripts/wine-run dist/bin/sample.exe\n"
        : "$compiler -Idist/include -fsyntax-only sample.cpp\n");
}

# Statements are compiled all at once, those of all documents.
sub do_body { counted('bodies'); return }

# body_of_block($document, $block): the statements as a function, with the place from which they are.
sub body_of_block {
    my ($document, $block) = @_;
    my $name = "$document->{path}_$block->{line}" =~ s/\W/_/gr;
    return "namespace {\n[[maybe_unused]] void $name([[maybe_unused]] ITKSOAP& request, "
        . "[[maybe_unused]] ITKSOAP& reply, [[maybe_unused]] ITKRTT& token) {\n#line @{[$block->{line} + 1]} "
        . "\"$document->{path}\"\n$block->{text}}\n}\n";
}

sub compile_bodies {
    my ($documents) = @_;
    my $bodies = '';
    for my $document (@$documents) {
        $bodies .= body_of_block($document, $_) for grep { $_->{info} eq 'cpp body' } @{ $document->{blocks} };
    }
    return if $bodies eq '';
    my $workshop = make_workshop('bodies');
    my $head = join '', map { "#include <$_>\n" } qw(R7ITK.h qzSOAP.h cstdio cstdlib cstring string thread vector);
    spew("$workshop/sample.cpp", $head . $bodies);
    run_block('bodies of C++', $workshop, "$compiler -Idist/include -fsyntax-only sample.cpp\n");
}

# A script of the gateway is one that the gateway accepts.
sub do_json_script {
    my ($document, $block, $place) = @_;
    counted('json');
    spew("$document->{workshop}/script.json", $block->{text});
    return run_block($place, $document->{workshop},
        "scripts/wine-run dist/bin/qzgateway.exe --script script.json --check\n");
}

# The examples of the wire format are held against the library by a test, which takes them by their names.
sub do_text {
    my ($document, $block, $place) = @_;
    return do_nothing() if !defined $block->{example};
    counted('examples');
    my $test = 'Tests/Calls/WireFormatDocTest.cpp';
    fault($place, "$test does not look at the example $block->{example}")
        if slurp("$root/$test") !~ /"\Q$block->{example}\E"/;
    return;
}

sub do_nothing { counted('unchecked'); return }

# "..." stands for anything within the line.
sub pattern_of_text { return join '[^\n]*', map { quotemeta } split /\.\.\./, $_[0], -1 }

sub check_output {
    my ($place, $expected, $printed) = @_;
    counted('outputs');
    my $pattern = join '', map { /^\s*\.\.\.$/ ? '(?:[^\n]*\n)*?' : pattern_of_text($_) . '\s*\n' } lines_of($expected);
    return if $printed =~ /\A$pattern\n*\z/;
    fault($place, "is not what was printed:\n" . quoted(lines_of($printed)));
}

sub check_json {
    my ($place, $expected, $printed) = @_;
    counted('json');
    my $wanted = eval { $json->decode($expected) };
    return fault($place, "is no JSON: $@") if $@;
    my $found = eval { $json->decode($printed) };
    return fault($place, "the block above it printed no JSON:\n" . quoted(lines_of($printed))) if $@;
    return if is_json_like($wanted, $found);
    fault($place, "is not what was printed:\n" . quoted(lines_of($printed)));
}

# Equal, but for "..." in texts.
sub is_json_like {
    my ($wanted, $found) = @_;
    return 0 if ref $wanted ne ref $found;
    if (ref $wanted eq 'HASH') {
        return 0 if join("\n", sort keys %$wanted) ne join "\n", sort keys %$found;
        return !grep { !is_json_like($wanted->{$_}, $found->{$_}) } keys %$wanted;
    }
    if (ref $wanted eq 'ARRAY') {
        return @$wanted == @$found && !grep { !is_json_like($wanted->[$_], $found->[$_]) } 0 .. $#$wanted;
    }
    my $pattern = pattern_of_text($json->encode($wanted));
    return $json->encode($found) =~ /\A$pattern\z/;
}

1;
