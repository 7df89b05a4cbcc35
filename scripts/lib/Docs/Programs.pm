# What the programs say of themselves, from their manual pages in the install tree, which are made of their --help; and what
# is needed to start other commands.
package Docs::Programs;
use strict;
use warnings;
use Docs::Common;
use Exporter 'import';
use JSON::PP;

our @EXPORT = qw(manual section_of options_of_programs options_of_script check_command_line);

# The page of a program as plain text: no fonts, no escapes.
sub manual {
    my ($program) = @_;
    my $path = "$root/dist/share/man/man1/$program.1";
    die "check-docs: no install tree: run scripts/build\n" if !-e $path;
    return slurp($path) =~ s/\\f[BR]//gr =~ s/\\&//gr =~ s/\\-/-/gr =~ s/\\e/\\/gr;
}

sub section_of {
    my ($page, $heading) = @_;
    return $page =~ /^\.SH \Q$heading\E\n(.*?)(?=^\.SH|\z)/ms ? $1 : '';
}

sub options_of_programs {
    return map { manual($_) =~ /(?<![\w-])(--[a-z][a-z-]*)/g } qw(qzcall qzgateway);
}

sub options_of_script {
    my ($path) = @_;
    return -f $path ? slurp($path) =~ /(?<![\w-])(--[a-z][a-z-]*)/g : ();
}

# check_command_line($place, $line): a command that is not run here could be started: the program is there, knows the
# options of a script, and presets have the names that stand there.
sub check_command_line {
    my ($place, $line) = @_;
    my ($program, @words) = split ' ', $line =~ s/\s#.*//r;
    return fault($place, "no such program: $program")
        if !grep { -f "$_/$program" && -x _ } $program =~ /\// ? $root : split /:/, $ENV{PATH};
    if ($program =~ /^scripts\//) {
        my %known = map { $_ => 1 } options_of_script("$root/$program");
        fault($place, "$program has no option $_") for grep { /^--/ && !$known{$_} } @words;
    } else {
        check_presets($place, $program, @words);
    }
}

sub check_presets {
    my ($place, $program, @words) = @_;
    my $presets = decode_json(slurp("$root/CMakePresets.json"));
    my %named = map { $words[$_] => $words[ $_ + 1 ] } grep { $words[$_] =~ /^--/ } 0 .. $#words - 1;
    my %kind = (cmake => exists $named{'--build'} ? 'build' : 'configure', ctest => 'test', cpack => 'package');
    my $kind = $kind{$program} or return;
    if (defined(my $name = $named{'--preset'})) {
        my @presets = grep { !$_->{hidden} } @{ $presets->{"${kind}Presets"} };
        fault($place, "no such $kind preset: $name") if !grep { $_->{name} eq $name } @presets;
    }
    if (defined(my $directory = $named{'--install'})) {
        fault($place, "no preset builds in $directory")
            if !grep { "build/$_->{name}" eq $directory } @{ $presets->{configurePresets} };
    }
}

1;
