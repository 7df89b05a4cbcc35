# Running commands as documents show them, in a directory that looks like the project's root, with a gateway if need be.
package Docs::Run;
use strict;
use warnings;
use Docs::Common;
use Exporter 'import';
use File::Basename;
use File::Glob ':bsd_glob';
use File::Path qw(make_path remove_tree);

our @EXPORT = qw(make_workshop run_script start_gateway serve_by_default with_port end_what_runs);

my $time_limit = 300;
my $command;    # process id of the command that runs
my %server;     # pid and port of the gateway that serves

# Directory of that name with the project's root in it, and an install tree that nobody else uses.
sub make_workshop {
    my ($name) = @_;
    my $place = "$work/$name";
    remove_tree($place);
    make_path($place);
    opendir my $entries, $root or die "check-docs: $root: $!\n";
    for (grep { !/^\./ && $_ ne 'dist' } readdir $entries) { symlink "$root/$_", "$place/$_" }
    system('cp', '-r', "$root/dist", "$place/dist") == 0 or die "check-docs: no install tree: run scripts/build\n";
    remove_tree("$place/dist/Logs", "$place/dist/configuration", { keep_root => 1 });
    return $place;
}

# start_gateway($directory, $command): the first line that it prints is the port, which is returned; nothing if it fails.
sub start_gateway {
    my ($directory, $command) = @_;
    stop_gateway();
    my $pid = open(my $out, '-|') // die "check-docs: $!\n";
    if ($pid == 0) {
        chdir $directory or die;
        open STDERR, '>', "$directory/gateway.log";
        open STDIN, '<', '/dev/null';
        exec 'bash', '-c', "exec $command";
        exit 127;
    }
    %server = (pid => $pid, out => $out);
    local $SIG{ALRM} = sub { kill 'TERM', $pid };
    alarm 120;
    my $port = <$out> // '';
    alarm 0;
    $port =~ s/\s+$//;
    $server{port} = $port =~ /^\d+$/ ? $port : undef;
    return $server{port};
}

sub stop_gateway {
    return if !%server;
    kill 'TERM', $server{pid};
    close $server{out};
    %server = ();
}

sub serve_by_default {
    my ($directory) = @_;
    return if $server{port};
    start_gateway($directory, 'scripts/wine-run dist/bin/qzgateway.exe --port 0 --quiet')
        or die "check-docs: the gateway did not start: " . slurp("$directory/gateway.log");
}

sub with_port { my ($text) = @_; return $text =~ s/127\.0\.0\.1:8080/127.0.0.1:$server{port}/gr }

# Runs a script in a directory until its first command that fails; returns its exit code and what it printed.
sub run_script {
    my ($directory, $script) = @_;
    spew("$directory/.script", $script);
    $command = fork // die "check-docs: $!\n";
    if ($command == 0) {
        chdir $directory or die;
        open STDIN, '<', '/dev/null';
        open STDOUT, '>', "$directory/.printed";
        open STDERR, '>&', \*STDOUT;
        exec 'timeout', '-k', '10', $time_limit, 'bash', '-eo', 'pipefail', '.script';
        exit 127;
    }
    waitpid $command, 0;
    undef $command;
    my $printed = slurp("$directory/.printed") =~ s/\r//gr;
    # A complaint of Wine about a program's end, now and then; it is not the program's.
    $printed =~ s/^wine client error:.*\n//mg;
    $printed =~ s/127\.0\.0\.1:$server{port}/127.0.0.1:8080/g if $server{port};
    return ($? & 127 ? 128 + ($? & 127) : $? >> 8, $printed);
}

# Ends the command, which is a process group of its own, and the gateway.
sub end_what_runs {
    kill 'TERM', $command if $command;
    stop_gateway();
}

1;
